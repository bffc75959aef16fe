#pragma once

#include <memory>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Paging/IMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {

// The two paging strategies of the sorting and while processors, built from
// the %DB_NAME% configuration node's "MarkEntry" children (see
// MarkFragments::ReadRequiredCollate; a missing `Name` or `RequiredCollate`
// raises HRX 0x80070490), and the choice between them per request. Each
// strategy keeps its own copy of the collation table. Read-only after
// construction.
class CMarkSortingStrategies {
 public:
  explicit CMarkSortingStrategies(const VXNodePtr& config);

  // The action strategy when an entry's `Column` is exactly "What_Action",
  // else the default one.
  const IMarkSorting& Choose(const std::vector<VXNodePtr>& entries) const;

  const MarkFragments::RequiredCollate& RequiredCollate() const { return requiredCollate_; }

 private:
  std::shared_ptr<IMarkSorting> defaultSorting_;
  std::shared_ptr<IMarkSorting> actionSorting_;
  MarkFragments::RequiredCollate requiredCollate_;
};

}  // namespace QueriesProcessing
