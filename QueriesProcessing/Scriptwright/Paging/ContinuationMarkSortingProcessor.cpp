#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkSortingProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

ContinuationMarkSortingProcessor::ContinuationMarkSortingProcessor(const VXNodePtr& config)
    : strategies_(config) {}

HRESULT ContinuationMarkSortingProcessor::ProcessNode(
    const VXNodePtr& request, std::u16string_view dbKey, std::u16string& text,
    const std::shared_ptr<const CContinuationMark>& mark) const {
  VX_LOG_SCOPE(Severity::DBG2, "ContinuationMarkSortingProcessor::ProcessNode");
  return OperationFrame("ContinuationMarkSortingProcessor::ProcessNode", [&] {
    const bool light =
        request.GetString(u"Query_Template_Name") == u"query_all_data_by_rid_with_cm_sort_light";
    const VXNodePtr sortingRoot = request.GetChild(u"SortingRoot", true);
    const MarkEntry markEntry = mark ? mark->GetMarkForDB(dbKey) : MarkEntry();
    const std::vector<VXNodePtr> entries = GetOrderedChildren(sortingRoot, u"Order", 0);
    const IMarkSorting& sorting = strategies_.Choose(entries);

    // Every fragment first: whatever fails, fails before the text is touched.
    const std::u16string currentData = sorting.BuildCurrentData(entries, markEntry, false);
    const std::u16string innerJoin = sorting.BuildInnerJoin(entries, markEntry, light);
    const std::u16string sortingField = sorting.BuildSortingField(entries);
    const std::u16string order = sorting.BuildSorting(entries);
    ReplaceAll(text, u"%CMARK_CURRENT_DATA%", currentData);
    ReplaceAll(text, u"%CMARK_INNER_JOIN%", innerJoin);
    ReplaceAll(text, u"%CMARK_SORTING_FIELD%", sortingField);
    ReplaceAll(text, u"%CMARK_SORTING%", order);
  });
}

}  // namespace QueriesProcessing
