#include "QueriesProcessing/Scriptwright/Paging/MarkSortingStrategies.h"

#include "QueriesProcessing/Scriptwright/Paging/DefaultMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/WhatActionMarkSorting.h"

namespace QueriesProcessing {

CMarkSortingStrategies::CMarkSortingStrategies(const VXNodePtr& config)
    : requiredCollate_(MarkFragments::ReadRequiredCollate(config)) {
  defaultSorting_ = std::make_shared<CDefaultMarkSorting>(requiredCollate_);
  actionSorting_ = std::make_shared<CWhatActionMarkSorting>(requiredCollate_);
}

const IMarkSorting& CMarkSortingStrategies::Choose(const std::vector<VXNodePtr>& entries) const {
  return MarkFragments::SortsByAction(entries) ? *actionSorting_ : *defaultSorting_;
}

}  // namespace QueriesProcessing
