#pragma once

#include <string>
#include <unordered_set>

namespace QueriesProcessing {

// Group names, compared exactly and case-sensitively.
using GroupNames = std::unordered_set<std::u16string>;

// The groups a request names: `inclusive` from "InGroup" conditions,
// `exclusive` from "NotInGroup" ones.
struct MembershipGroups {
  GroupNames inclusive;
  GroupNames exclusive;
};

}  // namespace QueriesProcessing
