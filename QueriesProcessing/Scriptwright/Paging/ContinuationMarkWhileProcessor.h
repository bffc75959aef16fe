#pragma once

#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkSortingStrategies.h"

namespace QueriesProcessing {

// Keyset paging for the templates that fetch a page in a server-side loop:
// "query_all_data_by_rid_with_cm_sort_while_with_classes" and its light form
// "query_all_data_by_rid_with_cm_sort_while_light_with_classes".
//
// Configuration: the "MarkEntry" children of the %DB_NAME% processor's node
// (CMarkSortingStrategies).
//
// ProcessNode reads the child `SortingRoot` and then `Query_Template_Name`
// (both required: 0x80070490), takes the database's mark and the sort entries
// in `Order` sequence, and replaces, in this order (c: the first non-RID
// entry's `Column`; "action": an entry's `Column` is "What_Action"):
//   %CMARK_NAME_FIELD%            "[Actions].[What_Action]" for c
//                                 "What_Action", else "[NextData].[c]"; with
//                                 no non-RID entry "RID" bare, with no entry ""
//   %CMARK_CURRENT_DATA%          the strategy's BuildCurrentData
//   without action:
//     %CMARK_NAME_FIELD_INS%      as %CMARK_NAME_FIELD%
//     %CMARK_NEXT_CONDITION%      NextCondition (below)
//     %CMARK_NEXT_CONDITION_ORDER% "ORDER BY [c] <Direction>" (the last entry
//                                 when all are RID; "" with no entry)
//     %CMARK_DISTINCT_FIELD%      "[c]" of the same entry ("[]" with none)
//     %SELECT_TOP_ACTION%         ""
//   with action:
//     %CMARK_NAME_FIELD_INS%      "[NextData].[c]": the action's number
//     %CMARK_NEXT_CONDITION%      NextCondition after a join of [Actions]
//     %CMARK_NEXT_CONDITION_ORDER% "ORDER BY " + "[Actions].[What_Action]
//                                 <Direction>" per "What_Action" entry
//     %SELECT_TOP_ACTION%         ", @What_ActionInt = [NextData].[What_Action]"
//     %CMARK_DISTINCT_FIELD%      "[Actions].[What_Action]"
//   %WHILE_NEXT_DATA_JOIN%        ""
//   %CMARK_VIEW_NAME%             "vw_AllChangesSimple" when light, else
//                                 "%VIEW_NAME%"
//   %CMARK_OPERATOR%              ">"/"<" by the first non-RID entry's
//                                 Direction, " = " without one
// NextCondition: "WHERE" over the product, condition and access filter
// stretch between %CMARK_IJ_COND_START% and %CMARK_IJ_COND_END%, AND
// "(1=1)" on a first page, else per non-RID entry
// "(<field> <op> <value><collate>) AND " and "(1=1)"; the field is
// "[NextData].[c]", with the join "[Actions].[What_Action]" for the action.
// Every value is built before the text is touched.
class ContinuationMarkWhileProcessor : public IContinuationMarkProcessor {
 public:
  explicit ContinuationMarkWhileProcessor(const VXNodePtr& config);

  HRESULT ProcessNode(const VXNodePtr& request, std::u16string_view dbKey, std::u16string& text,
                      const std::shared_ptr<const CContinuationMark>& mark) const override;

 private:
  std::u16string NextCondition(const std::vector<VXNodePtr>& entries, const MarkEntry& markEntry,
                               bool withJoin) const;

  CMarkSortingStrategies strategies_;
};

}  // namespace QueriesProcessing
