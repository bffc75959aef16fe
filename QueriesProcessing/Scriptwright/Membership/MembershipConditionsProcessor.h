#pragma once

#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipGroups.h"

namespace QueriesProcessing {

// Finds the groups that a request's group conditions name, for the membership
// preprocessor, before the request reaches the preparer. Reads the request
// only.
//
// Keeps the membership attribute name (the Columnn every group condition must
// have) and nothing else: concurrent calls need no lock.
class CMembershipConditionsProcessor {
 public:
  explicit CMembershipConditionsProcessor(std::u16string membershipAttrName)
      : membershipAttrName_(std::move(membershipAttrName)) {}

  // Walks the children of the required child Conditions (0x80070490 without
  // it): Condition nodes are descended, ConditionGroupMembership nodes are
  // collected (see MembershipConditionsCollector for their failures), other
  // nodes are passed by. The inclusive groups then lose the exclusive ones by
  // SubtractInStep over the sets' own iteration order; a name on both sides
  // stays exclusive.
  MembershipGroups ProcessMembershipConditions(const VXNodePtr& request) const;

 private:
  std::u16string membershipAttrName_;
};

// `inclusive` without `exclusive` by the classic merge walk over the two
// sequences as they come, with no sort first: a name is dropped only where
// the two walks meet it in step. Exact for one-element sequences; for longer
// unsorted ones some common names survive, which is the required behaviour.
//   {"a","b"} - {"b"} = {"a"};  {"b","a"} - {"a"} = {"b","a"}.
std::vector<std::u16string> SubtractInStep(const std::vector<std::u16string>& inclusive,
                                           const std::vector<std::u16string>& exclusive);

}  // namespace QueriesProcessing
