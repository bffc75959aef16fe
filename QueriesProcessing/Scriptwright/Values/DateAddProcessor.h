#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %DATEADD%: writes the request's time shift into a DATEADD call.
//
// Configuration (required): `variable`, `part_variable`, `offset_variable`,
// text tokens; only the last two are replaced, by the request's
// `DateTimePart` (default "hour") and `DateTimeOffset` (default "0"):
//   "DATEADD(%PART%, %OFFSET%, [When])" -> "DATEADD(hour, 3, [When])"
// Both values reach the SQL as they stand, unchecked.
class CDateAddProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string variable_;
  std::u16string partVariable_;
  std::u16string offsetVariable_;
};

}  // namespace QueriesProcessing
