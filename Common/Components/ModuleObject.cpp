#include "Common/Components/ModuleObject.h"

#include <mutex>

#include "Common/Components/DbgAliveObjectsTracker.h"
#include "Common/OperationFrame.h"

CModuleObject& CModuleObject::Instance() {
  static CModuleObject* instance = new CModuleObject;  // outlives every object it counts
  return *instance;
}

void CModuleObject::Register(const GUID& classId, Factory factory) {
  std::unique_lock guard(registryLock_);
  registry_[classId] = std::make_shared<Factory>(std::move(factory));
}

HRESULT CModuleObject::QueryInterface(const GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  if (iid != IComponent::kIid && iid != IModuleObject::kIid) return E_NOINTERFACE;
  *out = static_cast<IModuleObject*>(this);
  AddRef();
  return S_OK;
}

uint32_t CModuleObject::AddRef() { return ++references_; }
// Never freed: it lives with the module.
uint32_t CModuleObject::Release() { return --references_; }

HRESULT CModuleObject::DumpAliveObjects() {
  return ComponentBorder("CModuleObject::DumpAliveObjects",
                         [] { DbgAliveObjectsTracker::Instance().Dump(); });
}

int32_t CModuleObject::Lock() { return ++locks_; }
int32_t CModuleObject::Unlock() { return --locks_; }

HRESULT CModuleObject::CanUnload(bool* busy) {
  if (!busy) return E_POINTER;
  *busy = locks_.load() != 0;
  return S_OK;
}

HRESULT CModuleObject::GetClassObject(const GUID& classId, const GUID& iid, void** out) {
  return ComponentBorder("CModuleObject::GetClassObject", [&] {
    std::shared_ptr<Factory> factory;
    {
      std::shared_lock guard(registryLock_);
      auto it = registry_.find(classId);
      if (it == registry_.end()) return CLASS_E_CLASSNOTAVAILABLE;
      factory = it->second;
    }
    return (*factory)(iid, out);
  });
}

extern "C" HRESULT GetComponentsModuleObject(const GUID* iid, void** out) {
  if (!iid || !out) return E_INVALIDARG;
  return ComponentBorder("GetComponentsModuleObject",
                         [&] { return CModuleObject::Instance().QueryInterface(*iid, out); });
}
