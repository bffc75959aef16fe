#pragma once

#include <memory>
#include <string_view>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"

namespace QueriesProcessing {

// The three continuation mark processors that the %DB_NAME% processor owns,
// built from its configuration node, and the choice among them by the
// request's `Query_Template_Name` (exact comparison):
//
//   "query_all_data_by_rid_with_cm_sort",
//   "query_all_data_by_rid_with_cm_sort_light"            -> sorting
//   "query_all_data_by_rid_with_cm_sort_while_with_classes",
//   "query_all_data_by_rid_with_cm_sort_while_light_with_classes" -> while
//   any other name                                        -> default
//
// Construction reads `continuation_mark_column` and the "MarkEntry"
// children; a missing item raises HRX 0x80070490, which fails the owner's
// Initialize. Read-only afterwards; safe to share between threads.
class ContinuationMarkProcessors {
 public:
  enum class Kind { Default, Sorting, While };

  explicit ContinuationMarkProcessors(const VXNodePtr& config);

  static Kind KindOf(std::u16string_view templateName);

  // The processor for a template name; never null.
  const std::shared_ptr<IContinuationMarkProcessor>& Choose(std::u16string_view templateName) const;

  const std::shared_ptr<IContinuationMarkProcessor>& SortWhileProcessor() const {
    return sortWhile_;
  }
  const std::shared_ptr<IContinuationMarkProcessor>& SortProcessor() const { return sort_; }
  const std::shared_ptr<IContinuationMarkProcessor>& DefaultProcessor() const { return default_; }

 private:
  std::shared_ptr<IContinuationMarkProcessor> sortWhile_;
  std::shared_ptr<IContinuationMarkProcessor> sort_;
  std::shared_ptr<IContinuationMarkProcessor> default_;
};

}  // namespace QueriesProcessing
