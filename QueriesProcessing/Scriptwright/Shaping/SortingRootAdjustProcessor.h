#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %SORTING_ROOT_ADJUST%: makes sure the request's sort order is total.
//
// Configuration: the child `SortingEntry` (required), the row-id sort entry
// (e.g. Column "RID", Direction "ASC", Order 100). The request gets a
// `SortingRoot` child if it has none, and in it a copy of that entry, named
// "RID", unless a child of that name is there already. The text is not
// touched.
class CSortingRootAdjustProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  VXNodePtr entry_;
};

}  // namespace QueriesProcessing
