#pragma once

#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Common/ContinuationMark.h"

namespace QueriesProcessing {

// How the paging templates continue behind a mark for one kind of sort. The
// fragments it builds replace the %CMARK_...% tokens of the templates.
//
// `entries` are the request's sort entries in `Order` sequence
// (GetOrderedChildren); each has `Column` and, where it is read, `Direction`
// (missing: HRX 0x80070490). `markEntry` is the database's last delivered
// row; empty means its first page. `light` puts the view
// "vw_AllChangesSimple" in place of %VIEW_NAME% in the derived tables.
// Fragments name columns as they stand; mark values are quoted with their
// quotes doubled. With a mark, a non-RID sort column must be configured as a
// MarkEntry (else HRX 0x80070057). Tokens left in the fragments (%TOP%,
// %CONDITION%, %SORTING%, ...) are for their own processors.
class IMarkSorting {
 public:
  // For %CMARK_CURRENT_DATA%: the rest of the tie group the last page
  // stopped in.
  virtual std::u16string BuildCurrentData(const std::vector<VXNodePtr>& entries,
                                          const MarkEntry& markEntry, bool light) const = 0;
  // For %CMARK_INNER_JOIN%: per non-RID sort column one derived table of the
  // next distinct values behind the mark.
  virtual std::u16string BuildInnerJoin(const std::vector<VXNodePtr>& entries,
                                        const MarkEntry& markEntry, bool light) const = 0;
  // For %CMARK_SORTING_FIELD%.
  virtual std::u16string BuildSortingField(const std::vector<VXNodePtr>& entries) const = 0;
  // For %CMARK_SORTING%.
  virtual std::u16string BuildSorting(const std::vector<VXNodePtr>& entries) const = 0;
  virtual ~IMarkSorting() = default;
};

}  // namespace QueriesProcessing
