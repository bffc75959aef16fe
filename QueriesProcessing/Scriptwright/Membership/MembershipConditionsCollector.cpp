#include "QueriesProcessing/Scriptwright/Membership/MembershipConditionsCollector.h"

#include "Common/ErrorHandling.h"

namespace QueriesProcessing {

void MembershipConditionsCollector::OnCondition(const VXNodePtr&, const VXNodePtr&) {}

void MembershipConditionsCollector::OnGroupMembership(const VXNodePtr&, const VXNodePtr& node) {
  const std::u16string comparator = node.GetString(u"Comparator");
  const std::vector<std::u16string> names = node.GetStringList(u"Values", true);
  if (node.GetString(u"Columnn", u"") != membershipAttrName_) Check(E_BAD_GROUP_CONDITION);
  GroupNames* target = nullptr;
  if (comparator == u"InGroup") target = &groups_.inclusive;
  if (comparator == u"NotInGroup") target = &groups_.exclusive;
  if (target == nullptr) Check(E_BAD_GROUP_CONDITION);
  target->insert(names.begin(), names.end());
}

}  // namespace QueriesProcessing
