#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %SORTING%: writes the request's sort entries as an ORDER BY list.
//
// Configuration: `variable` (required), the text to replace. The request's
// child `SortingRoot` (required) holds entries with `Column`, `Direction`
// (both required, placed as they stand), `AliasTable` and `Order`; in `Order`
// sequence each gives "[alias].[Column] Direction", joined by ",":
//   "[a].[When] DESC,[RID] ASC"
// An empty SortingRoot gives the empty text.
class CSortingProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string variable_;
};

}  // namespace QueriesProcessing
