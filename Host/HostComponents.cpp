#include "Host/HostComponents.h"

#include "Common/Nodes/NodeTextWriter.h"
#include "Host/CommandPrinter.h"

HRESULT CHostDataSourceManager::AddObserver(ITriggerObserver* observer) {
  if (!observer) return E_INVALIDARG;
  observers_.emplace_back(observer);
  return S_OK;
}

HRESULT CHostConfigProxy::Subscribe(const VXNodePtr&, const VXNodePtr&, IConfigObserver* observer,
                                    IConfigSubscription** out) {
  if (!observer || !out) return E_INVALIDARG;
  observers_.emplace_back(observer);
  return static_cast<IConfigSubscription*>(this)->QueryInterface(IConfigSubscription::kIid, reinterpret_cast<void**>(out));
}

void CHostConfigProxy::NotifyModified() {
  for (const auto& observer : observers_) observer->OnModify(VXNodePtr());
}

HRESULT CCommandPrinter::ProcessQuery(const VXNodePtr& query) {
  if (out_) *out_ << (xml_ ? WriteNodeText({query}) : RenderCommands(query));
  return S_OK;
}

HRESULT CCommandPrinter::CancelQuery(const VXNodePtr&) { return S_OK; }
