#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersProcessor.h"

#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

namespace {

const std::u16string& Either(bool condition, const std::u16string& value, const std::u16string& other) {
  return condition ? value : other;
}

}  // namespace

HRESULT COverviewCountersProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewCountersProcessor::Initialize");
  return OperationFrame("COverviewCountersProcessor::Initialize", [&] {
    aliasOrderBy_ = config.GetString(u"AliasOrderBy");
    aliasClauseGroupBy_ = config.GetString(u"AliasClauseGroupBy");
    aliasSelectFields_ = config.GetString(u"AliasSelectFields");
    aliasTop_ = config.GetString(u"AliasTop");
    valueOrderBy_ = config.GetString(u"ValueOrderBy");
    valueGroupBy_ = config.GetString(u"ValueGroupBy");
    valueTop_ = config.GetString(u"ValueTop");
    valueSelectFieldsGroup_ = config.GetString(u"ValueSelectFieldsGroup");
    valueSelectFields_ = config.GetString(u"ValueSelectFields");
    templateAliasTable_ = config.GetString(u"TemplateAliasTable");
  });
}

HRESULT COverviewCountersProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                                std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewCountersProcessor::ProcessNode");
  return OperationFrame("COverviewCountersProcessor::ProcessNode", [&] {
    AdjustGroupByRoot(request);
    AdjustOrderByRoot(request);
    static const std::u16string kEmpty;
    const bool sorted = static_cast<bool>(request.GetChild(u"SortingRoot"));
    const bool grouped = static_cast<bool>(request.GetChild(u"GroupByRoot"));
    const bool limited = request.HasAttribute(u"Top");
    ReplaceAll(text, aliasOrderBy_, Either(sorted, valueOrderBy_, kEmpty));
    ReplaceAll(text, aliasClauseGroupBy_, Either(grouped, valueGroupBy_, kEmpty));
    ReplaceAll(text, aliasSelectFields_, Either(grouped, valueSelectFieldsGroup_, valueSelectFields_));
    ReplaceAll(text, aliasTop_, Either(limited, valueTop_, kEmpty));
  });
}

void COverviewCountersProcessor::AdjustGroupByRoot(const VXNodePtr& request) const {
  AdjustRoot(request, u"GroupByRoot");
}

void COverviewCountersProcessor::AdjustOrderByRoot(const VXNodePtr& request) const {
  AdjustRoot(request, u"SortingRoot");
}

void COverviewCountersProcessor::AdjustRoot(const VXNodePtr& request,
                                            std::u16string_view rootName) const {
  const VXNodePtr root = request.GetChild(rootName);
  if (!root) return;
  VX_LOG(Severity::DBG, u"Before afjust: " << root);
  for (const auto& entry : GetOrderedChildren(root, u"Order", 0)) {
    if (!entry.HasAttribute(u"JoinIndex")) continue;
    std::u16string alias = templateAliasTable_;
    ReplaceAll(alias, u"%index%", ToTextUnsigned(entry.GetUInt64(u"JoinIndex")));
    entry.SetString(u"AliasTable", alias);
  }
  VX_LOG(Severity::DBG, u"After afjust: " << root);
}

}  // namespace QueriesProcessing
