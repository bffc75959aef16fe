#pragma once

namespace QueriesProcessing {

// The kind of a group condition. None marks a walk that has seen no kind yet.
enum class MembershipKind : int { InGroup = 1, NotInGroup = 2, None = 4 };

}  // namespace QueriesProcessing
