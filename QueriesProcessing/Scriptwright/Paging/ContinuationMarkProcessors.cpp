#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkProcessors.h"

#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkDefaultProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkSortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkWhileProcessor.h"

namespace QueriesProcessing {

ContinuationMarkProcessors::ContinuationMarkProcessors(const VXNodePtr& config)
    : sortWhile_(std::make_shared<ContinuationMarkWhileProcessor>(config)),
      sort_(std::make_shared<ContinuationMarkSortingProcessor>(config)),
      default_(std::make_shared<ContinuationMarkDefaultProcessor>(config)) {}

ContinuationMarkProcessors::Kind ContinuationMarkProcessors::KindOf(
    std::u16string_view templateName) {
  if (templateName == u"query_all_data_by_rid_with_cm_sort" ||
      templateName == u"query_all_data_by_rid_with_cm_sort_light") {
    return Kind::Sorting;
  }
  if (templateName == u"query_all_data_by_rid_with_cm_sort_while_with_classes" ||
      templateName == u"query_all_data_by_rid_with_cm_sort_while_light_with_classes") {
    return Kind::While;
  }
  return Kind::Default;
}

const std::shared_ptr<IContinuationMarkProcessor>& ContinuationMarkProcessors::Choose(
    std::u16string_view templateName) const {
  switch (KindOf(templateName)) {
    case Kind::Sorting:
      return sort_;
    case Kind::While:
      return sortWhile_;
    case Kind::Default:
      break;
  }
  return default_;
}

}  // namespace QueriesProcessing
