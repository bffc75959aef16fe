#include "QueriesProcessing/Scriptwright/Rights/ImpersonateProcessor.h"

#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Rights/CallerToken.h"

namespace QueriesProcessing {

HRESULT CImpersonateProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CImpersonateProcessor::Initialize");
  return OperationFrame("CImpersonateProcessor::Initialize",
                        [&] { variable_ = config.GetString(u"variable"); });
}

HRESULT CImpersonateProcessor::ProcessNode(VXNodePtr&, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CImpersonateProcessor::ProcessNode");
  return OperationFrame("CImpersonateProcessor::ProcessNode", [&] {
    std::u16string value = u"N'";
    if (const VXNodePtr token = GetCallerToken()) {
      VX_LOG(Severity::DBG2, u"AuthToken: " << token);
      // The name comes from the host's own token, not from the request, and
      // is written exactly as the host gave it.
      value += token.GetString(u"SubjectDisplayName");
    }
    value += u'\'';
    ReplaceAll(text, variable_, value);
  });
}

}  // namespace QueriesProcessing
