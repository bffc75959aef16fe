#pragma once

#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkSortingStrategies.h"

namespace QueriesProcessing {

// Keyset paging for "query_all_data_by_rid_with_cm_sort" and its light form
// "query_all_data_by_rid_with_cm_sort_light" (the derived tables then read
// "vw_AllChangesSimple").
//
// Configuration: the "MarkEntry" children of the %DB_NAME% processor's node
// (CMarkSortingStrategies).
//
// ProcessNode reads `Query_Template_Name` and the child `SortingRoot` (both
// required: 0x80070490), takes the database's mark and the sort entries in
// `Order` sequence, picks the strategy (the action one when a `Column` is
// "What_Action"), and replaces, in this order:
//   %CMARK_CURRENT_DATA%   BuildCurrentData (never light)
//   %CMARK_INNER_JOIN%     BuildInnerJoin
//   %CMARK_SORTING_FIELD%  BuildSortingField
//   %CMARK_SORTING%        BuildSorting
// All four fragments are built even when the text lacks their token, so a
// text without tokens comes back unchanged but the failures of the
// fragments (0x80070057 for an unconfigured sort column behind a mark) still
// end the request.
class ContinuationMarkSortingProcessor : public IContinuationMarkProcessor {
 public:
  explicit ContinuationMarkSortingProcessor(const VXNodePtr& config);

  HRESULT ProcessNode(const VXNodePtr& request, std::u16string_view dbKey, std::u16string& text,
                      const std::shared_ptr<const CContinuationMark>& mark) const override;

 private:
  CMarkSortingStrategies strategies_;
};

}  // namespace QueriesProcessing
