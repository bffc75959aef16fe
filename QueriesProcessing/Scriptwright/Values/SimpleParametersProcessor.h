#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %SIMPLE_PARAMETERS%: fills named parameters written between two delimiters.
//
// Configuration (required): `flag`, the delimiter. With flag "$", the text
// "WHERE [Who] = N'$User$'" and a request attribute User = "O'Brien" gives
// "WHERE [Who] = N'O''Brien'". The value comes from the request, else from the
// per-use node; quotes are doubled. The inserted value is scanned again, so a
// value holding the delimiter starts a new parameter. A lone delimiter stays.
//
// Fails with 0x80070057, naming the parameter, leaving the text half
// replaced: when neither node has it; when values keep expanding into
// parameters past 10,000 replacements; or when the text grows past the
// bound of TextGrowthGuard (16 times its length before this processor, at
// least 1 MiB, at most 64 MiB), so a value that names its own parameter
// fails fast. Time is linear in the text produced.
class CSimpleParametersProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string flag_;
};

}  // namespace QueriesProcessing
