#include "Common/Components/ComponentObject.h"

CComponentBase::~CComponentBase() {
  if (Detail::CWeakRefObj* weak = weak_.load()) weak->Release();
}

bool CComponentBase::TryAddRef() {
  uint32_t count = references_.load();
  while (count != 0) {
    if (references_.compare_exchange_weak(count, count + 1)) return true;
  }
  return false;
}

void CComponentBase::DetachWeakReference() {
  if (Detail::CWeakRefObj* weak = weak_.load()) weak->Detach();
}

HRESULT CComponentBase::GetWeakReferenceFor(IComponent* self, IWeakReference** out) {
  if (!out) return E_INVALIDARG;
  Detail::CWeakRefObj* weak = weak_.load();
  if (!weak) {
    auto* made = new Detail::CWeakRefObj(this, self);
    if (weak_.compare_exchange_strong(weak, made)) {
      weak = made;
    } else {
      made->Release();  // another thread was first
    }
  }
  weak->AddRef();
  *out = weak;
  return S_OK;
}

namespace Detail {

HRESULT CWeakRefObj::QueryInterface(const GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  if (iid != IComponent::kIid && iid != IWeakReference::kIid) return E_NOINTERFACE;
  *out = static_cast<IWeakReference*>(this);
  AddRef();
  return S_OK;
}

uint32_t CWeakRefObj::Release() {
  const uint32_t left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT CWeakRefObj::Resolve(const GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  IComponent* self = nullptr;
  {
    std::lock_guard guard(lock_);
    if (!base_ || !base_->TryAddRef()) return E_NOINTERFACE;
    self = self_;
  }
  const HRESULT status = self->QueryInterface(iid, out);
  self->Release();
  return status;
}

void CWeakRefObj::Detach() {
  std::lock_guard guard(lock_);
  base_ = nullptr;
  self_ = nullptr;
}

}  // namespace Detail
