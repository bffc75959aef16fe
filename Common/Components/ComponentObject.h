#pragma once

#include <atomic>
#include <mutex>
#include <new>
#include <tuple>
#include <typeinfo>

#include "Common/Components/DbgAliveObjectsTracker.h"
#include "Common/Components/IComponent.h"
#include "Common/Components/ModuleObject.h"

namespace Detail {
class CWeakRefObj;
}

// The base of every component class T: the reference count and the weak
// reference. T lists the interfaces it answers for in `Interfaces` (a
// std::tuple of interface types, the first also answering for IComponent) and
// may hide FinalConstruct (called after construction, with a reference held;
// a failure destroys the object) and FinalRelease (called as the last
// reference goes, ahead of the destructor).
class CComponentBase {
 public:
  HRESULT FinalConstruct() { return S_OK; }
  void FinalRelease() {}

 protected:
  CComponentBase() = default;
  ~CComponentBase();

  // For weak reference sources: the one weak reference of this object, made
  // on first request (a racing second maker throws its own away).
  HRESULT GetWeakReferenceFor(IComponent* self, IWeakReference** out);

 private:
  template <typename T>
  friend class CComponentObject;
  friend class Detail::CWeakRefObj;

  // Adds a reference unless the count already reached 0.
  bool TryAddRef();
  void DetachWeakReference();

  std::atomic<uint32_t> references_{0};
  std::atomic<Detail::CWeakRefObj*> weak_{nullptr};
};

// The concrete object of component class T.
template <typename T>
class CComponentObject final : public T {
 public:
  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_INVALIDARG;
    *out = nullptr;
    if (iid == IComponent::kIid) {
      *out = static_cast<IComponent*>(
          static_cast<std::tuple_element_t<0, typename T::Interfaces>*>(this));
    } else {
      Find(iid, out, static_cast<typename T::Interfaces*>(nullptr));
    }
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  uint32_t AddRef() override { return ++this->references_; }

  uint32_t Release() override {
    const uint32_t left = --this->references_;
    if (left != 0) return left;
    this->DetachWeakReference();
    this->FinalRelease();
    DbgAliveObjectsTracker::Instance().Remove(this);
    CModuleObject::Instance().Unlock();
    delete this;
    return 0;
  }

  // Makes an object and gives its interface `iid`; on any failure, a status
  // or an exception of the constructor or FinalConstruct, no object and no
  // module lock remain (the module object's border turns the exception into
  // a status).
  static HRESULT Create(const GUID& iid, void** out) {
    if (!out) return E_INVALIDARG;
    *out = nullptr;
    auto* object = new (std::nothrow) CComponentObject<T>;
    if (!object) return E_OUTOFMEMORY;
    DbgAliveObjectsTracker::Instance().Add(object, typeid(T));
    CModuleObject::Instance().Lock();
    object->AddRef();
    // Drops the reference of the creation on every way out: the last one
    // when anything failed.
    struct Hold {
      CComponentObject* object;
      ~Hold() { object->Release(); }
    } hold{object};
    const HRESULT status = object->FinalConstruct();
    return Succeeded(status) ? object->QueryInterface(iid, out) : status;
  }

 private:
  template <typename... I>
  void Find(const GUID& iid, void** out, std::tuple<I...>*) {
    static_cast<void>(((iid == I::kIid ? (*out = static_cast<I*>(this), true) : false) || ...));
  }
};

// A global of this type registers class T under `classId` before the host can
// ask for it.
template <typename T>
struct ClassRegistration {
  explicit ClassRegistration(const GUID& classId) {
    CModuleObject::Instance().Register(classId, &CComponentObject<T>::Create);
  }
};

namespace Detail {

// The shared control object of a component's weak references.
class CWeakRefObj final : public IWeakReference {
 public:
  CWeakRefObj(CComponentBase* base, IComponent* self) : base_(base), self_(self) {}

  HRESULT QueryInterface(const GUID& iid, void** out) override;
  uint32_t AddRef() override { return ++references_; }
  uint32_t Release() override;
  HRESULT Resolve(const GUID& iid, void** out) override;

  // The object is going: later Resolves find nothing.
  void Detach();

 private:
  std::mutex lock_;
  CComponentBase* base_;  // guarded by lock_; null once the object is gone
  IComponent* self_;      // guarded by lock_
  std::atomic<uint32_t> references_{1};
};

}  // namespace Detail

// Inside Configure of a component that starts background work: keeps the
// component alive until the end of Configure and, unless dismissed, calls its
// Shutdown when Configure leaves by an exception.
class ConfigureGuard {
 public:
  ConfigureGuard(IComponent* self, IShutdown* shutdown) : self_(self), shutdown_(shutdown) {
    self_->AddRef();
  }
  ~ConfigureGuard() {
    if (shutdown_) shutdown_->Shutdown();
    self_->Release();
  }
  ConfigureGuard(const ConfigureGuard&) = delete;
  ConfigureGuard& operator=(const ConfigureGuard&) = delete;
  void Dismiss() { shutdown_ = nullptr; }

 private:
  IComponent* self_;
  IShutdown* shutdown_;
};
