#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %OPTIONAL_TOP_PROCESSOR%: a limit clause only when the request asks for one.
//
// Configuration (required): `Alias`, the text token to replace; `Template`, a
// format with one integer placeholder, e.g. "TOP (%d)". A request `Top`
// (signed 32-bit) other than 0 replaces the token by the formatted template;
// an absent or 0 `Top` replaces it by nothing.
class COptionalTopProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string alias_;
  std::u16string template_;
};

}  // namespace QueriesProcessing
