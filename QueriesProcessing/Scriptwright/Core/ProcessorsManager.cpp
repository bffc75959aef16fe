#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

#include "Common/LogScope.h"

namespace QueriesProcessing {

CProcessorsManager& CProcessorsManager::Instance() {
  // Function-local statics are made once under the runtime's own lock; the
  // object is leaked on purpose so that no processor outlives its code at exit.
  static CProcessorsManager* instance = new CProcessorsManager;
  return *instance;
}

void CProcessorsManager::Initialize(const VXNodePtr& config) {
  Initialize(config, ProcessorTable());
}

void CProcessorsManager::Initialize(const VXNodePtr& config,
                                    const std::vector<ProcessorTableRow>& table) {
  VX_LOG_SCOPE(Severity::DBG, "CProcessorsManager::Initialize");
  processors_.clear();
  for (const auto& row : table) {
    VXNodePtr child = config.GetChild(row.token);
    if (!child) continue;
    auto processor = row.create();
    processors_[std::u16string(row.token)] = processor;
    Check(processor->Initialize(child));
  }
}

void CProcessorsManager::ProcessVariable(VXNodePtr& request, const VXNodePtr& variable,
                                         std::u16string_view alias, std::u16string& text) {
  const auto it = processors_.find(alias);
  if (it == processors_.end()) Check(E_INVALIDARG);
  Check(it->second->ProcessNode(request, variable, text));
}

std::shared_ptr<IVariableProcessor> CProcessorsManager::Find(std::u16string_view alias) const {
  const auto it = processors_.find(alias);
  return it == processors_.end() ? nullptr : it->second;
}

}  // namespace QueriesProcessing
