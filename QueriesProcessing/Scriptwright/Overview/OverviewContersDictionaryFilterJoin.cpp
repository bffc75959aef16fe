#include "QueriesProcessing/Scriptwright/Overview/OverviewContersDictionaryFilterJoin.h"

#include <map>
#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kIndexToken = u"%index%";
constexpr std::u16string_view kJoinIndex = u"JoinIndex";

struct TableVariableEntry {
  std::u16string text;
  VXNodePtr filter;
};

// The table variables of one request, by join index.
struct TableVariableSet {
  std::map<uint64_t, TableVariableEntry> entries;
};

std::u16string WithIndex(const std::u16string& pattern, const std::u16string& index) {
  std::u16string text = pattern;
  ReplaceAll(text, kIndexToken, index);
  return text;
}

// The condition a dictionary comparison stands for in the tree: an IN list
// is the whole Condition above it.
VXNodePtr FilterOf(const VXNodePtr& node) {
  const VXNodePtr parent = node.Parent();
  if (!parent || parent.GetType() != u"Condition") return node;
  const std::u16string op = parent.GetString(u"operator");
  return op == u"IN" || op == u"NOT IN" ? parent : node;
}

// Condition AND ( Key = <AliasColumn>, <filter> ): the dictionary rows of
// that key that meet the request's condition.
VXNodePtr NewFilter(const VXNodePtr& node, const VXNodePtr& filter) {
  uint32_t type = VXN_EMPTY;
  const std::vector<uint8_t> key = node.GetRaw(u"AliasColumn", type);
  const VXNodePtr keyCondition = VXNodePtr::Create(u"ConditionValues");
  keyCondition.SetAttribute(u"Value", type, key.data(), static_cast<uint32_t>(key.size()));
  keyCondition.SetString(u"Comparator", u"=");
  keyCondition.SetString(u"Columnn", u"Key");
  const VXNodePtr condition = VXNodePtr::Create(u"Condition");
  condition.SetString(u"operator", u"AND");
  condition.AddChild(keyCondition);
  condition.AddChild(filter.Clone(VXNodePtr::kWholeTree));
  return condition;
}

}  // namespace

HRESULT COverviewContersDictionaryFilterJoin::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewContersDictionaryFilterJoin::Initialize");
  return OperationFrame("COverviewContersDictionaryFilterJoin::Initialize", [&] {
    joinAlias_ = config.GetString(u"JoinAlias");
    variablesAlias_ = config.GetString(u"VariablesAlias");
    joinTemplate_ = config.GetString(u"JoinTemplate");
    variablesTemplate_ = config.GetString(u"VariablesTemplate");
    conditionVariable_ = config.GetString(u"ConditionVariable");
  });
}

HRESULT COverviewContersDictionaryFilterJoin::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                                          std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewContersDictionaryFilterJoin::ProcessNode");
  return OperationFrame("COverviewContersDictionaryFilterJoin::ProcessNode", [&] {
    const auto [joins, variables] = MakeJoinsAndTableVariables(request);
    ReplaceAll(text, joinAlias_, joins);
    ReplaceAll(text, variablesAlias_, variables);
  });
}

std::unordered_set<uint64_t> COverviewContersDictionaryFilterJoin::GetJoinIndexesToSkip(
    const VXNodePtr& groupByRoot) {
  std::unordered_set<uint64_t> skipped;
  if (!groupByRoot) return skipped;
  WalkPreOrder(groupByRoot, false, [&](const VXNodePtr& node) {
    if (node.NameView() == u"GroupByRootEntry" && node.HasAttribute(kJoinIndex))
      skipped.insert(node.GetUInt64(kJoinIndex));
  });
  return skipped;
}

std::pair<std::u16string, std::u16string>
COverviewContersDictionaryFilterJoin::MakeJoinsAndTableVariables(const VXNodePtr& request) const {
  VX_LOG_SCOPE(Severity::DBG2, "COverviewContersDictionaryFilterJoin::MakeJoinsAndTableVariables");
  const auto skipped = GetJoinIndexesToSkip(request.GetChild(u"GroupByRoot"));
  std::vector<std::u16string> joins;
  std::vector<VXNodePtr> moved;
  TableVariableSet set;
  WalkPreOrder(request, false, [&](const VXNodePtr& node) {
    if (node.NameView() != u"ConditionValues" || !node.HasAttribute(kJoinIndex)) return;
    const uint64_t index = node.GetUInt64(kJoinIndex);
    if (skipped.contains(index)) return;
    const std::u16string number = ToTextUnsigned(index);
    const VXNodePtr filter = FilterOf(node);
    moved.push_back(filter);
    joins.push_back(WithIndex(joinTemplate_, number));
    const auto found = set.entries.find(index);
    if (found == set.entries.end()) {
      set.entries.emplace(index, TableVariableEntry{WithIndex(variablesTemplate_, number),
                                                    NewFilter(node, filter)});
    } else {
      found->second.filter.AddChild(filter.Clone(VXNodePtr::kWholeTree));
    }
  });
  // Two comparisons of one IN list share their filter: it goes once.
  for (const auto& filter : moved) {
    const VXNodePtr parent = filter.Parent();
    if (parent) parent.RemoveChild(filter);
  }

  std::vector<std::u16string> variables;
  variables.reserve(set.entries.size());
  for (auto& [index, entry] : set.entries) {
    VXNodePtr query = VXNodePtr::Create(u"Query");
    const VXNodePtr conditions = VXNodePtr::Create(u"ConditionsRoot", u"Conditions");
    conditions.AddChild(entry.filter);
    query.AddChild(conditions);
    CProcessorsManager::Instance().ProcessVariable(query, VXNodePtr(), conditionVariable_, entry.text);
    variables.push_back(std::move(entry.text));
  }
  return {JoinStrings(joins, u"\n"), JoinStrings(variables, u"\n")};
}

}  // namespace QueriesProcessing
