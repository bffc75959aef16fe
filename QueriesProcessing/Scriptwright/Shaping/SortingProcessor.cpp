#include "QueriesProcessing/Scriptwright/Shaping/SortingProcessor.h"

#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

namespace {

std::u16string BuildSortEntry(const VXNodePtr& entry) {
  std::u16string text;
  std::u16string alias;
  if (entry.TryGetString(u"AliasTable", alias)) text = EscapeColumnName(alias) + u".";
  text += EscapeColumnName(entry.GetString(u"Column"));
  text += u" ";
  text += entry.GetString(u"Direction");
  return text;
}

std::u16string BuildSortList(const VXNodePtr& sortingRoot) {
  std::vector<std::u16string> entries;
  for (const auto& entry : GetOrderedChildren(sortingRoot, u"Order", 0)) entries.push_back(BuildSortEntry(entry));
  return JoinStrings(entries, u",");
}

}  // namespace

HRESULT CSortingProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingProcessor::Initialize");
  return OperationFrame("CSortingProcessor::Initialize", [&] { variable_ = config.GetString(u"variable"); });
}

HRESULT CSortingProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingProcessor::ProcessNode");
  return OperationFrame("CSortingProcessor::ProcessNode", [&] {
    ReplaceAll(text, variable_, BuildSortList(request.GetChild(u"SortingRoot", true)));
  });
}

}  // namespace QueriesProcessing
