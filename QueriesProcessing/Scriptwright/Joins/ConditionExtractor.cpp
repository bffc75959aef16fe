#include "QueriesProcessing/Scriptwright/Joins/ConditionExtractor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Joins/PerUse.h"
#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"

namespace QueriesProcessing {

namespace {

void RemoveCondition(const VXNodePtr& node, const VXNodePtr& request) {
  RemoveAndPruneUpward(node, request);
}

bool IsContainer(const VXNodePtr& node) {
  const std::u16string type = node.GetType();
  return type == u"Condition" || type == u"ConditionsRoot";
}

// A copy of the request with only the accepted nodes and their containers.
// It is taken before the conversions rewrite the originals.
VXNodePtr RemoveNotMatched(const VXNodePtr& request, const NodeConversions& conversions) {
  VXNodePtr copy = request.Clone(VXNodePtr::kWholeTree);
  std::vector<VXNodePtr> unmatched;
  WalkPreOrder(copy, false, [&](const VXNodePtr& node) {
    if (!conversions.IsDefined(node) && !IsContainer(node)) unmatched.push_back(node);
  });
  for (const auto& node : unmatched) RemoveCondition(node, copy);
  return copy;
}

}  // namespace

HRESULT ConditionExtractor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "ConditionExtractor::Initialize");
  return OperationFrame("ConditionExtractor::Initialize", [&] {
    alias_ = config.GetString(u"Alias");
    resultConditionTemplate_ = config.GetString(u"ResultConditionTemplate");
    conditionsSeparator_ = config.GetString(u"ConditionsSeparator", u"\n");
    nodeConversions_ = NodeConversions();
    nodeConversions_.Init(config.GetChild(u"NodeConversion", true));
  });
}

HRESULT ConditionExtractor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                        std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "ConditionExtractor::ProcessNode");
  return OperationFrame("ConditionExtractor::ProcessNode", [&] {
    const std::u16string alias = PerUseString(variable, u"Alias", alias_);
    const std::u16string separator =
        PerUseString(variable, u"ConditionsSeparator", conditionsSeparator_);
    const std::u16string resultTemplate =
        PerUseString(variable, u"ResultConditionTemplate", resultConditionTemplate_);
    const NodeConversions conversions = PerUseConversions(variable, nodeConversions_);
    const auto results = ExtractConditions(request, conversions, resultTemplate);
    ReplaceAll(text, alias, JoinStrings(results, separator));
  });
}

std::vector<std::u16string> ConditionExtractor::ExtractConditions(
    const VXNodePtr& request, const NodeConversions& conversions,
    const std::u16string& resultConditionTemplate) const {
  VX_LOG_SCOPE(Severity::DBG2, "ConditionExtractor::ExtractConditions");
  VXNodePtr copy = RemoveNotMatched(request, conversions);
  std::vector<VXNodePtr> matched;
  WalkPreOrder(request, false, [&](const VXNodePtr& node) {
    if (!conversions.IsDefined(node)) return;
    conversions.Apply(node);
    matched.push_back(node);
  });
  for (const auto& node : matched) RemoveCondition(node, request);

  std::vector<std::u16string> results;
  if (copy.ChildCount() != 0) {
    std::u16string condition = resultConditionTemplate;
    CProcessorsManager::Instance().ProcessVariable(copy, VXNodePtr(), u"%CONDITION%", condition);
    VX_LOG(Severity::DBG, u"Extracted condition: " << condition);
    results.push_back(std::move(condition));
  }
  if (results.empty()) results.push_back(u"(1=1)");
  return results;
}

}  // namespace QueriesProcessing
