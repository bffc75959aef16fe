#include "QueriesProcessing/Scriptwright/Values/SimpleParametersProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

constexpr size_t kMaxReplacements = 10000;

std::u16string ParameterValue(const VXNodePtr& request, const VXNodePtr& variable, const std::u16string& name) {
  std::u16string value;
  if (request.TryGetString(name, value)) return value;
  if (variable && variable.TryGetString(name, value)) return value;
  ThrowError(E_INVALIDARG, u": no value for the parameter '" + name + u"'");
}

}  // namespace

HRESULT CSimpleParametersProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CSimpleParametersProcessor::Initialize");
  return OperationFrame("CSimpleParametersProcessor::Initialize", [&] {
    flag_ = config.GetString(u"flag");
    if (flag_.empty()) ThrowError(E_INVALIDARG, u": the parameter delimiter 'flag' is empty");
  });
}

HRESULT CSimpleParametersProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                                std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CSimpleParametersProcessor::ProcessNode");
  return OperationFrame("CSimpleParametersProcessor::ProcessNode", [&] {
    VX_LOG(Severity::DBG, u"Original:" << text);
    size_t replacements = 0;
    for (size_t start = text.find(flag_); start != std::u16string::npos; start = text.find(flag_, start)) {
      const size_t end = text.find(flag_, start + flag_.size());
      if (end == std::u16string::npos) break;
      const std::u16string name = text.substr(start + flag_.size(), end - start - flag_.size());
      VX_LOG(Severity::DBG, u"Variable:" << name);
      std::u16string value = ParameterValue(request, variable, name);
      ReplaceAll(value, u"'", u"''");
      VX_LOG(Severity::DBG, u"Value:" << value);
      if (++replacements > kMaxReplacements) {
        ThrowError(E_INVALIDARG, u": parameter values keep expanding into parameters ('" + name + u"')");
      }
      text.replace(start, end + flag_.size() - start, value);
    }
    VX_LOG(Severity::DBG, u"Final:" << text);
  });
}

}  // namespace QueriesProcessing
