#include "QueriesProcessing/Scriptwright/Membership/MembershipConditionsProcessor.h"

#include "Common/LogScope.h"
#include "Common/SqlText.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipConditionsCollector.h"

namespace QueriesProcessing {

namespace {

void Walk(MembershipConditionsCollector& collector, const VXNodePtr& request,
          const VXNodePtr& node) {
  const std::u16string type = node.GetType();
  if (type == u"ConditionGroupMembership") {
    collector.OnGroupMembership(request, node);
    return;
  }
  if (type != u"Condition") return;
  collector.OnCondition(request, node);
  for (uint32_t i = 0, count = node.ChildCount(); i < count; ++i) {
    Walk(collector, request, node.ChildAt(i));
  }
}

std::vector<std::u16string> InIterationOrder(const GroupNames& names) {
  return {names.begin(), names.end()};
}

}  // namespace

std::vector<std::u16string> SubtractInStep(const std::vector<std::u16string>& inclusive,
                                           const std::vector<std::u16string>& exclusive) {
  std::vector<std::u16string> kept;
  kept.reserve(inclusive.size());
  auto in = inclusive.begin();
  auto ex = exclusive.begin();
  while (in != inclusive.end() && ex != exclusive.end()) {
    if (*in < *ex) {
      kept.push_back(*in++);
      continue;
    }
    if (!(*ex < *in)) ++in;
    ++ex;
  }
  kept.insert(kept.end(), in, inclusive.end());
  return kept;
}

MembershipGroups CMembershipConditionsProcessor::ProcessMembershipConditions(
    const VXNodePtr& request) const {
  VX_LOG_SCOPE(Severity::DBG, "CMembershipConditionsProcessor::ProcessMembershipConditions");
  const VXNodePtr conditions = request.GetChild(u"Conditions", true);
  MembershipConditionsCollector collector(membershipAttrName_);
  for (uint32_t i = 0, count = conditions.ChildCount(); i < count; ++i) {
    Walk(collector, request, conditions.ChildAt(i));
  }
  MembershipGroups groups = collector.groups();
  const auto kept =
      SubtractInStep(InIterationOrder(groups.inclusive), InIterationOrder(groups.exclusive));
  groups.inclusive = GroupNames(kept.begin(), kept.end());
  VX_LOG(Severity::DBG,
         u"Inclusive groups : " << JoinStrings(InIterationOrder(groups.inclusive), u", "));
  VX_LOG(Severity::DBG,
         u"Exclusive groups : " << JoinStrings(InIterationOrder(groups.exclusive), u", "));
  return groups;
}

}  // namespace QueriesProcessing
