#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"

// Fakes of the components CDBHealth talks to, for every test that needs the
// health of databases.
namespace Testing {

// "Core.RequestContextMgr": one thread's contexts, with every exchange kept.
class FakeContexts : public CComponentBase, public IRequestContextMgr {
 public:
  using Interfaces = std::tuple<IRequestContextMgr>;
  HRESULT ExchangeContext(int32_t kind, const VXNodePtr& context, VXNodePtr* previous) override;
  HRESULT GetContext(int32_t kind, const VXNodePtr& request, VXNodePtr* context) override;

  // Makes one with a reference held by the caller.
  static FakeContexts* Make();

  struct Exchange {
    int32_t kind;
    VXNodePtr context;
  };
  VXNodePtr current;
  std::vector<Exchange> exchanges;
};

// "Core.ServiceClient" and the gate's proxy in one object: every OpenService
// gives this object, every Call answers `response` (or fails with
// `callStatus`) and is kept in `requests`.
class FakeGate : public CComponentBase, public IServiceClient, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceClient, IServiceProxy>;
  HRESULT OpenService(const char16_t* url, uint32_t flags, const GUID& iid, void** proxy) override;
  HRESULT Call(const VXNodePtr& request, VXNodePtr* out) override;

  // Makes one with a reference held by the caller.
  static FakeGate* Make();

  FakeContexts* contexts = nullptr;
  HRESULT openStatus = S_OK;
  HRESULT callStatus = S_OK;
  VXNodePtr response;
  std::vector<std::u16string> urls;
  uint32_t openFlags = 99;
  std::vector<VXNodePtr> requests;
  std::vector<VXNodePtr> contextsAtCall;
};

}  // namespace Testing
