#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

HRESULT IVariableProcessor::Initialize(const VXNodePtr&) { return S_OK; }

}  // namespace QueriesProcessing
