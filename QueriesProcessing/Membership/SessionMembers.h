#pragma once

#include "QueriesProcessing/Membership/MemberSet.h"

namespace QueriesProcessing {

// The membership of one client session: what the resolver found for the
// inclusive and the exclusive groups of its first request, and what the
// tables manager stores.
struct SessionMembers {
  MemberSet inclusiveMembers;
  MemberSet exclusiveMembers;
  // Some group was cut at the members limit.
  bool incomplete = false;
};

}  // namespace QueriesProcessing
