#include "QueriesProcessing/Scriptwright/Joins/JoinProcessor.h"

#include <map>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Joins/PerUse.h"
#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kIndexToken = u"%index%";

// Only string attributes are read: the text of a number, a boolean or a GUID
// never holds the token, and writing it back as a string would change its type.
void NumberAttributes(const VXNodePtr& node, const std::u16string& index) {
  for (const auto& name : node.AttributeNames()) {
    if (node.GetAttributeType(name) != VXN_STRING) continue;
    std::u16string value = node.GetString(name);
    if (ReplaceAll(value, kIndexToken, index) != 0) node.SetString(name, value);
  }
}

}  // namespace

HRESULT CJoinProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CJoinProcessor::Initialize");
  return OperationFrame("CJoinProcessor::Initialize", [&] {
    alias_ = config.GetString(u"Alias");
    joinTemplate_ = config.GetString(u"JoinTemplate");
    nodeConversions_ = NodeConversions();
    nodeConversions_.Init(config.GetChild(u"NodeConversion"));
  });
}

HRESULT CJoinProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                    std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CJoinProcessor::ProcessNode");
  return OperationFrame("CJoinProcessor::ProcessNode", [&] {
    const NodeConversions conversions = PerUseConversions(variable, nodeConversions_);
    const std::u16string joinTemplate = PerUseString(variable, u"JoinTemplate", joinTemplate_);
    const auto joins = MakeJoinsAndAdjustQuery(request, conversions, joinTemplate);
    const std::u16string alias = PerUseString(variable, u"Alias", alias_);
    ReplaceAll(text, alias, JoinStrings(joins, u"\n"));
  });
}

std::vector<std::u16string> CJoinProcessor::MakeJoinsAndAdjustQuery(
    const VXNodePtr& request, const NodeConversions& conversions,
    const std::u16string& joinTemplate) const {
  VX_LOG_SCOPE(Severity::DBG2, "CJoinProcessor::MakeJoinsAndAdjustQuery");
  // emplace puts an equal key behind those already there: walk order.
  std::multimap<int32_t, std::u16string> joins;
  WalkPreOrder(request, false, [&](const VXNodePtr& node) {
    if (!conversions.IsDefined(node) || !node.HasAttribute(u"JoinIndex")) return;
    const int32_t index = node.GetInt32(u"JoinIndex");
    const std::u16string number = ToText(index);
    std::u16string join = joinTemplate;
    ReplaceAll(join, kIndexToken, number);
    joins.emplace(index, std::move(join));
    conversions.Apply(node);
    NumberAttributes(node, number);
  });
  std::vector<std::u16string> ordered;
  ordered.reserve(joins.size());
  for (auto& [index, join] : joins) ordered.push_back(std::move(join));
  return ordered;
}

}  // namespace QueriesProcessing
