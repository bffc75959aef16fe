#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "tests/Common/FakeRequestContexts.h"

// Fakes of the components CDBHealth talks to, for every test that needs the
// health of databases.
namespace Testing {

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
