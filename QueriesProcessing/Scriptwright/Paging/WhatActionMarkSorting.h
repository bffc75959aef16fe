#pragma once

#include "QueriesProcessing/Scriptwright/Paging/IMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {

// Paging behind a mark for a sort by the action's text. The views hold the
// action as a number in "What_Action"; "[Actions]" maps it ("What") to its
// text ("What_Action"). The mark holds the text under "What_Action" and the
// number under "ActionCode".
//
// BuildCurrentData: as the default strategy, with the product, condition and
//   access filter stretch between %CMARK_IJ_COND_CURR_START% and
//   %CMARK_IJ_COND_CURR_END% (for the %CMARK_SORTING_CONDITION% processor to
//   qualify), and the current rows compared on the number ("ActionCode").
// BuildInnerJoin: per non-RID column c one block that reads the view as
//   "[SubQuery]" joined to "[Actions]", selects the text as [TextWhatAction]
//   and the number as [IntWhatAction], joins on c = IntWhatAction, compares
//   "[Actions].[What_Action]" (or "[c]" for another column) with the mark's
//   text, and ends in "ORDER BY [Result_c].[TextWhatAction] <Direction>,
//   [RID] ASC".
// BuildSortingField: ",[Actions].[What_Action] as [TextWhatAction]".
// BuildSorting: the join of "[Actions]" to "[DataBaseResult]" and
//   "ORDER BY " + "[TextWhatAction] <Direction>," per non-RID entry +
//   "[RID] ASC".
// Read-only after construction.
class CWhatActionMarkSorting : public IMarkSorting {
 public:
  explicit CWhatActionMarkSorting(MarkFragments::RequiredCollate requiredCollate);

  std::u16string BuildCurrentData(const std::vector<VXNodePtr>& entries, const MarkEntry& markEntry,
                                  bool light) const override;
  std::u16string BuildInnerJoin(const std::vector<VXNodePtr>& entries, const MarkEntry& markEntry,
                                bool light) const override;
  std::u16string BuildSortingField(const std::vector<VXNodePtr>& entries) const override;
  std::u16string BuildSorting(const std::vector<VXNodePtr>& entries) const override;

 private:
  std::u16string NextData(const VXNodePtr& entry, const std::u16string& column,
                          const MarkEntry& markEntry) const;

  MarkFragments::RequiredCollate requiredCollate_;
};

}  // namespace QueriesProcessing
