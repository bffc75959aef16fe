#include "FakeDatabaseGate.h"

namespace Testing {

namespace {

template <typename T, typename I>
T* MakeObject() {
  I* made = nullptr;
  Check(CComponentObject<T>::Create(I::kIid, reinterpret_cast<void**>(&made)));
  return static_cast<T*>(made);
}

}  // namespace

FakeContexts* FakeContexts::Make() { return MakeObject<FakeContexts, IRequestContextMgr>(); }

HRESULT FakeContexts::ExchangeContext(int32_t kind, const VXNodePtr& context, VXNodePtr* previous) {
  exchanges.push_back({kind, context});
  *previous = current;
  current = context;
  return S_OK;
}

HRESULT FakeContexts::GetContext(int32_t, const VXNodePtr&, VXNodePtr* context) {
  *context = current;
  return S_OK;
}

FakeGate* FakeGate::Make() { return MakeObject<FakeGate, IServiceClient>(); }

HRESULT FakeGate::OpenService(const char16_t* url, uint32_t flags, const GUID& iid, void** proxy) {
  urls.emplace_back(url);
  openFlags = flags;
  if (Failed(openStatus)) return openStatus;
  return static_cast<IServiceClient*>(this)->QueryInterface(iid, proxy);
}

HRESULT FakeGate::Call(const VXNodePtr& request, VXNodePtr* out) {
  requests.push_back(request.Clone());
  contextsAtCall.push_back(contexts ? contexts->current : VXNodePtr());
  if (Failed(callStatus)) return callStatus;
  *out = response;
  return S_OK;
}

}  // namespace Testing
