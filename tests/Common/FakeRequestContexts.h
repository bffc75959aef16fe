#pragma once

#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"

namespace Testing {

// "Core.RequestContextMgr" for one thread: GetContext gives `current` (of any
// kind) or fails with `getStatus`; ExchangeContext replaces it and keeps every
// exchange.
class FakeContexts : public CComponentBase, public IRequestContextMgr {
 public:
  using Interfaces = std::tuple<IRequestContextMgr>;
  HRESULT ExchangeContext(int32_t kind, const VXNodePtr& context, VXNodePtr* previous) override {
    exchanges.push_back({kind, context});
    *previous = current;
    current = context;
    return S_OK;
  }
  HRESULT GetContext(int32_t, const VXNodePtr&, VXNodePtr* context) override {
    if (Failed(getStatus)) return getStatus;
    *context = current;
    return S_OK;
  }

  struct Exchange {
    int32_t kind;
    VXNodePtr context;
  };
  VXNodePtr current;
  std::vector<Exchange> exchanges;
  HRESULT getStatus = S_OK;
};

// A fake component of class `T` made through its interface `I`, with one
// reference that the caller releases.
template <typename T, typename I>
T* MakeFake() {
  I* made = nullptr;
  Check(CComponentObject<T>::Create(I::kIid, reinterpret_cast<void**>(&made)));
  return static_cast<T*>(made);
}

}  // namespace Testing
