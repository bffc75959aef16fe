#pragma once

#include "QueriesProcessing/Scriptwright/Paging/IMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {

// Paging behind a mark for a sort by plain columns, which the views compare
// as they are.
//
// BuildCurrentData: the "WHERE" over the product, condition and access
//   filter tokens, AND (CurrentCondition) (MarkFragments).
// BuildInnerJoin: per non-RID column c one block (MarkFragments::
//   kInnerJoinBlock) selecting "[c]" from
//   "[%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%]" where
//   "[c] <op> <value><collate>" ("(1=1)" on a first page), ordered by
//   "[c] <Direction>", aliased "Result_c", joined on c, closed by
//   "ORDER BY %SORTING%". Blocks follow each other with nothing between.
// BuildSortingField: "". BuildSorting: "ORDER BY %SORTING%".
// Read-only after construction.
class CDefaultMarkSorting : public IMarkSorting {
 public:
  explicit CDefaultMarkSorting(MarkFragments::RequiredCollate requiredCollate);

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
