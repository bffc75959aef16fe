#include "FakeDatabaseGate.h"

namespace Testing {

FakeGate* FakeGate::Make() { return MakeFake<FakeGate, IServiceClient>(); }

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
