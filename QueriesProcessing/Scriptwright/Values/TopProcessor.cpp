#include "QueriesProcessing/Scriptwright/Values/TopProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

HRESULT CTopProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CTopProcessor::Initialize");
  return OperationFrame("CTopProcessor::Initialize", [&] {
    top_ = config.GetString(u"top");
    variable_ = config.GetString(u"variable");
  });
}

HRESULT CTopProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CTopProcessor::ProcessNode");
  return OperationFrame("CTopProcessor::ProcessNode", [&] {
    const std::optional<AttributeText> requested = request.FindString(u"Top");
    const std::u16string_view value = requested ? requested->view() : std::u16string_view(top_);
    VX_LOG(Severity::DBG, u"Top " << value << u" records");
    ReplaceAll(text, variable_, value);
  });
}

}  // namespace QueriesProcessing
