#pragma once

#include <utility>

#include "Common/Components/IComponent.h"

// The owning reference to a component interface: released on destruction,
// copying adds a reference.
template <typename I>
class CompPtr {
 public:
  CompPtr() = default;
  // Adds a reference to `p`.
  explicit CompPtr(I* p) : p_(p) {
    if (p_) p_->AddRef();
  }
  CompPtr(const CompPtr& other) : CompPtr(other.p_) {}
  CompPtr(CompPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  CompPtr& operator=(CompPtr other) noexcept {
    std::swap(p_, other.p_);
    return *this;
  }
  ~CompPtr() {
    if (p_) p_->Release();
  }

  // Takes over a reference the caller already owns.
  static CompPtr Attach(I* p) {
    CompPtr result;
    result.p_ = p;
    return result;
  }
  // For out parameters: releases what is held and hands out the slot.
  I** Receive() {
    *this = CompPtr();
    return &p_;
  }
  void** ReceiveVoid() { return reinterpret_cast<void**>(Receive()); }

  // The same object's interface J, or null.
  template <typename J>
  CompPtr<J> As() const {
    CompPtr<J> result;
    if (p_) p_->QueryInterface(J::kIid, result.ReceiveVoid());
    return result;
  }

  I* get() const { return p_; }
  I* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  I* p_ = nullptr;
};
