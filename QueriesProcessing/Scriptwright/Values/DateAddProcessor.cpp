#include "QueriesProcessing/Scriptwright/Values/DateAddProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

HRESULT CDateAddProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CDateAddProcessor::Initialize");
  return OperationFrame("CDateAddProcessor::Initialize", [&] {
    variable_ = config.GetString(u"variable");
    partVariable_ = config.GetString(u"part_variable");
    offsetVariable_ = config.GetString(u"offset_variable");
  });
}

HRESULT CDateAddProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CDateAddProcessor::ProcessNode");
  return OperationFrame("CDateAddProcessor::ProcessNode", [&] {
    const std::u16string part = request.GetString(u"DateTimePart", u"hour");
    const std::u16string offset = request.GetString(u"DateTimeOffset", u"0");
    VX_LOG(Severity::DBG, u"Add time offset:" << offset << u" " << part);
    ReplaceAll(text, partVariable_, part);
    ReplaceAll(text, offsetVariable_, offset);
  });
}

}  // namespace QueriesProcessing
