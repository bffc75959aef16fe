#include "QueriesProcessing/Scriptwright/Values/OptionalTopProcessor.h"

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

HRESULT COptionalTopProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "COptionalTopProcessor::Initialize");
  return OperationFrame("COptionalTopProcessor::Initialize", [&] {
    alias_ = config.GetString(u"Alias");
    template_ = config.GetString(u"Template");
  });
}

HRESULT COptionalTopProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "COptionalTopProcessor::ProcessNode");
  return OperationFrame("COptionalTopProcessor::ProcessNode", [&] {
    const int32_t top = request.GetInt32(u"Top", 0);
    ReplaceAll(text, alias_, top != 0 ? FormatString(template_, top) : std::u16string());
  });
}

}  // namespace QueriesProcessing
