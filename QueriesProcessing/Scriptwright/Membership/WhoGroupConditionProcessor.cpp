#include "QueriesProcessing/Scriptwright/Membership/WhoGroupConditionProcessor.h"

#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kNotSupported = u": not supported group operation";

MembershipKind KindOfMatchingComparator(const std::u16string& comparator) {
  if (comparator == u"InGroup") return MembershipKind::InGroup;
  if (comparator == u"NotInGroup") return MembershipKind::NotInGroup;
  Check(E_INVALIDARG);
  return MembershipKind::None;
}

}  // namespace

HRESULT CWhoGroupConditionProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CWhoGroupConditionProcessor::Initialize");
  return OperationFrame("CWhoGroupConditionProcessor::Initialize", [&] {
    comparators_.clear();
    filters_.clear();
    additionalFilterColumn_ = config.GetString(u"ColumnNameAdditionalFilter");
    const std::u16string aliasJoin = config.GetString(u"AliasJoin");
    const std::u16string valueJoin = config.GetString(u"ValueJoin");
    for (uint32_t i = 0, count = config.ChildCount(); i < count; ++i) {
      const VXNodePtr child = config.ChildAt(i);
      if (child.GetType() == u"Filters") AddFilter(child, aliasJoin, valueJoin);
    }
  });
}

void CWhoGroupConditionProcessor::AddFilter(const VXNodePtr& child, const std::u16string& aliasJoin,
                                            const std::u16string& valueJoin) {
  WhoGroupFilter filter;
  filter.columnName = child.GetString(u"ColumnName");
  filter.comparator = child.GetString(u"Comparator");
  const std::u16string matching = child.GetString(u"MatchingComparator");
  filter.attributeWithTableName = child.GetString(u"AttributeWithTableName");
  const std::u16string aliasJoinTable = child.GetString(u"AliasJoinTable");
  const MembershipKind kind = KindOfMatchingComparator(matching);
  filter.joinAlias = aliasJoin;
  ReplaceAll(filter.joinAlias, u"%TableName%", child.GetName());
  filter.joinValue = valueJoin;
  ReplaceAll(filter.joinValue, u"%AliasJoinTable%", aliasJoinTable);
  ReplaceAll(filter.joinValue, u"%ColumnName%", filter.columnName);
  comparators_.try_emplace(matching, kind);
  filters_.try_emplace(kind, std::move(filter));
}

HRESULT CWhoGroupConditionProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                                 std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CWhoGroupConditionProcessor::ProcessNode");
  return OperationFrame("CWhoGroupConditionProcessor::ProcessNode", [&] {
    if (const VXNodePtr conditions = request.GetChild(u"Conditions")) {
      Kinds kinds;
      AdjustConditions(conditions, kinds);
      VX_LOG(Severity::DBG, u"Query after adjust: " << request);
      SetJoins(request, kinds);
    }
    // Built aside so that a failure leaves the command text as it was.
    std::u16string result = text;
    for (const auto& [kind, filter] : filters_) {
      ReplaceAll(result, filter.joinAlias, request.GetString(filter.joinAlias, u""));
    }
    text = std::move(result);
  });
}

void CWhoGroupConditionProcessor::SetJoins(const VXNodePtr& request, const Kinds& kinds) const {
  for (const MembershipKind kind : {MembershipKind::InGroup, MembershipKind::NotInGroup}) {
    const auto filter = filters_.find(kind);
    if (!kinds.contains(kind) || filter == filters_.end()) continue;
    std::u16string join = filter->second.joinValue;
    ReplaceAll(join, u"%TableName%", request.GetString(filter->second.attributeWithTableName));
    request.SetString(filter->second.joinAlias, join);
  }
}

void CWhoGroupConditionProcessor::AdjustConditions(const VXNodePtr& node, Kinds& kinds) const {
  VX_LOG(Severity::DBG, u"Condition: " << node);
  const std::u16string type = node.GetType();
  if (type == u"ConditionGroupMembership") {
    MembershipKind state = MembershipKind::None;
    AdjustGroupCondition(node, state, kinds);
    return;
  }
  if (type == u"Condition") AdjustOperands(node, kinds);
  if (type != u"Condition" && type != u"ConditionsRoot") return;
  for (uint32_t i = 0, count = node.ChildCount(); i < count; ++i) {
    AdjustConditions(node.ChildAt(i), kinds);
  }
}

void CWhoGroupConditionProcessor::AdjustOperands(const VXNodePtr& node, Kinds& kinds) const {
  const std::u16string op = node.GetString(u"operator");
  if (op != u"AND" && op != u"OR") return;
  for (uint32_t i = 0, count = node.ChildCount(); i < count; ++i) {
    const VXNodePtr child = node.ChildAt(i);
    if (child.GetType() != u"ConditionGroupMembership") continue;
    MembershipKind state = MembershipKind::None;
    AdjustGroupCondition(child, state, kinds);
  }
}

void CWhoGroupConditionProcessor::AdjustGroupCondition(const VXNodePtr& node, MembershipKind& state,
                                                       Kinds& kinds) const {
  if (node.GetString(u"Columnn") != additionalFilterColumn_) return;
  const auto known = comparators_.find(node.GetString(u"Comparator"));
  if (known == comparators_.end()) ThrowError(E_INVALIDARG, kNotSupported);
  const MembershipKind kind = known->second;
  kinds.insert(kind);
  // Every caller starts from a fresh state, so this never fires; it guards
  // a caller that would pass one state over several conditions.
  if (state != MembershipKind::None && state != kind) {
    ThrowError(E_INVALIDARG, u": not supported difference group operation in one condition values");
  }
  if (state == MembershipKind::None) state = kind;
  const auto filter = filters_.find(kind);
  if (filter == filters_.end()) ThrowError(E_INVALIDARG, kNotSupported);
  node.SetType(u"ConditionValues");
  node.SetString(u"Columnn", filter->second.columnName);
  node.SetString(u"Comparator", filter->second.comparator);
  try {
    node.DeleteAttribute(u"Values");
  } catch (const HRX&) {
    // A condition without Values has nothing to delete.
  }
}

}  // namespace QueriesProcessing
