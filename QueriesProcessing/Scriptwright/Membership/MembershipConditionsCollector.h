#pragma once

#include <string>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipGroups.h"

namespace QueriesProcessing {

// Gathers the group names of the group conditions that a walk hands it.
// `request` is the request being walked, the context of the call.
//
// OnGroupMembership reads Comparator and Values (both required, 0x80070490),
// then Columnn (default empty): a column other than the membership attribute
// raises 0x80040C0E, as does a Comparator other than "InGroup" (names go to
// `inclusive`) and "NotInGroup" (to `exclusive`). Unlike the who-group
// processor, a foreign column is an error here.
//
// Refers to the attribute name, which must outlive it. One walk, one thread.
class MembershipConditionsCollector {
 public:
  explicit MembershipConditionsCollector(const std::u16string& membershipAttrName)
      : membershipAttrName_(membershipAttrName) {}

  // A Condition node; does nothing.
  virtual void OnCondition(const VXNodePtr& request, const VXNodePtr& node);
  virtual void OnGroupMembership(const VXNodePtr& request, const VXNodePtr& node);
  virtual ~MembershipConditionsCollector() = default;

  const MembershipGroups& groups() const { return groups_; }

 private:
  MembershipGroups groups_;
  const std::u16string& membershipAttrName_;
};

}  // namespace QueriesProcessing
