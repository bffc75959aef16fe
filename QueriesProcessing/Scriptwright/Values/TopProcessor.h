#pragma once

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %TOP%: writes the request's row limit.
//
// Configuration (required): `top`, the default limit as text; `variable`, the
// text token to replace. The request's `Top`, read as text, wins when it
// exists with a value (type other than 0): "SELECT TOP %TOP% *" with Top 100
// gives "SELECT TOP 100 *".
class CTopProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string top_;
  std::u16string variable_;
};

}  // namespace QueriesProcessing
