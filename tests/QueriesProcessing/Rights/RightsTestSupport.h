#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Text.h"
#include "tests/Common/FakeRequestContexts.h"
#include "tests/QueriesProcessing/Shaping/ProcessorRunner.h"

namespace QueriesProcessing::Testing {

// "Security.PermissionsChecker": answers every call with `result` and a clone
// of `scope`, or fails with `status`; keeps each call's token and permission.
class FakePermissionsChecker : public CComponentBase, public IPermissionsChecker {
 public:
  using Interfaces = std::tuple<IPermissionsChecker>;
  HRESULT CheckAccess(const VXNodePtr& token, const char16_t* permission, AccessCheckResult* out,
                      VXNodePtr* outScope) override {
    tokens.push_back(token);
    permissions.emplace_back(permission);
    if (Failed(status)) return status;
    *out = result;
    if (scope) *outScope = scope.Clone();
    return S_OK;
  }

  AccessCheckResult result = kAccessFull;
  VXNodePtr scope;
  HRESULT status = S_OK;
  std::vector<VXNodePtr> tokens;
  std::vector<std::u16string> permissions;
};

// The named components the rights processors ask for. Each test starts with
// a request context holding no token and a checker that grants everything.
class RightsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    contexts = ::Testing::MakeFake<::Testing::FakeContexts, IRequestContextMgr>();
    checker = ::Testing::MakeFake<FakePermissionsChecker, IPermissionsChecker>();
    hasContexts = true;
    checkerLookups = 0;
    current = this;
    ScriptwrightSetNamedInstanceProvider(&Provide);
  }
  void TearDown() override {
    ScriptwrightSetNamedInstanceProvider(nullptr);
    current = nullptr;
    static_cast<IRequestContextMgr*>(contexts)->Release();
    static_cast<IPermissionsChecker*>(checker)->Release();
  }

  // Makes `token` (node text, empty for none) the calling thread's context.
  void ActAs(const std::string& token) { contexts->current = Parse(token); }

  ::Testing::FakeContexts* contexts = nullptr;
  FakePermissionsChecker* checker = nullptr;
  bool hasContexts = true;  // false: the host has no "Core.RequestContextMgr"
  int checkerLookups = 0;

 private:
  static HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
    const std::u16string_view wanted(name);
    if (wanted == u"Core.RequestContextMgr" && current->hasContexts) {
      return static_cast<IRequestContextMgr*>(current->contexts)->QueryInterface(*iid, out);
    }
    if (wanted == u"Security.PermissionsChecker") {
      ++current->checkerLookups;
      return static_cast<IPermissionsChecker*>(current->checker)->QueryInterface(*iid, out);
    }
    return E_NOTFOUND;
  }

  static inline RightsTest* current = nullptr;
};

}  // namespace QueriesProcessing::Testing
