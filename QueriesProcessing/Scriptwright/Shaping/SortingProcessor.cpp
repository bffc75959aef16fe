#include "QueriesProcessing/Scriptwright/Shaping/SortingProcessor.h"

#include <optional>
#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "Common/TextBuilder.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

namespace {

// The entries "[alias].[Column] Direction" joined by ",", each sized and
// written once.
std::u16string BuildSortList(const VXNodePtr& sortingRoot) {
  std::u16string text;
  for (const auto& entry : GetOrderedChildren(sortingRoot, u"Order", 0)) {
    const std::optional<AttributeText> alias = entry.FindString(u"AliasTable");
    const AttributeText column = entry.GetStringView(u"Column");
    const AttributeText direction = entry.GetStringView(u"Direction");
    // An entry is never empty (its column is at least "[]"), so every one but
    // the first gets the separator.
    const size_t size = (text.empty() ? 0 : 1) + (alias ? EscapedColumnNameSize(*alias) + 1 : 0) +
                        EscapedColumnNameSize(column) + 1 + direction.size();
    const bool first = text.empty();
    char16_t* at = GrowBy(text, size);
    if (!first) *at++ = u',';
    if (alias) {
      at = WriteEscapedColumnName(at, *alias);
      *at++ = u'.';
    }
    at = WriteEscapedColumnName(at, column);
    *at++ = u' ';
    WriteText(at, direction);
  }
  return text;
}

}  // namespace

HRESULT CSortingProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingProcessor::Initialize");
  return OperationFrame("CSortingProcessor::Initialize",
                        [&] { variable_ = config.GetString(u"variable"); });
}

HRESULT CSortingProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingProcessor::ProcessNode");
  return OperationFrame("CSortingProcessor::ProcessNode", [&] {
    ReplaceAll(text, variable_, BuildSortList(request.GetChild(u"SortingRoot", true)));
  });
}

}  // namespace QueriesProcessing
