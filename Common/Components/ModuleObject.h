#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <shared_mutex>

#include "Common/Components/IComponent.h"

// The module's entry for hosts: counts the module's live objects and makes
// the registered classes by GUID. Its operations are component borders
// (ComponentBorder): an exception of a class's construction becomes a status.
struct IModuleObject : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D01}");
  virtual HRESULT Nop() = 0;               // does nothing
  virtual HRESULT DumpAliveObjects() = 0;  // the tracker's table to the log
  virtual int32_t Lock() = 0;              // the new lock count
  virtual int32_t Unlock() = 0;
  virtual HRESULT CanUnload(bool* busy) = 0;  // true while objects live; null: 0x80004003
  // Makes an object of `classId` and gives its interface `iid`:
  // 0x80040154 for a class not registered.
  virtual HRESULT GetClassObject(const GUID& classId, const GUID& iid, void** out) = 0;
};

// The module object of this library, made on first use. Classes register
// during static initialisation (see ClassRegistration); the registry is read
// under a shared lock afterwards.
class CModuleObject final : public IModuleObject {
 public:
  using Factory = std::function<HRESULT(const GUID& iid, void** out)>;

  static CModuleObject& Instance();

  void Register(const GUID& classId, Factory factory);

  HRESULT QueryInterface(const GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Nop() override { return S_OK; }
  HRESULT DumpAliveObjects() override;
  int32_t Lock() override;
  int32_t Unlock() override;
  HRESULT CanUnload(bool* busy) override;
  HRESULT GetClassObject(const GUID& classId, const GUID& iid, void** out) override;

 private:
  CModuleObject() = default;

  std::atomic<uint32_t> references_{1};
  std::atomic<int32_t> locks_{0};
  std::shared_mutex registryLock_;
  std::map<GUID, std::shared_ptr<Factory>> registry_;  // guarded by registryLock_
};

// The library's export: the module object's interface `iid`. Null arguments
// give 0x80070057, an interface it lacks 0x80004002.
extern "C" HRESULT GetComponentsModuleObject(const GUID* iid, void** out);
