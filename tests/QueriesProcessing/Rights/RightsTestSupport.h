#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Logger.h"
#include "Common/Text.h"
#include "tests/Common/FakeRequestContexts.h"
#include "tests/Common/LogCapture.h"
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

// The named components the rights processors ask for, and the log at DBG2.
// Each test starts with a request context holding no token, a checker that
// grants everything and an empty log capture.
class RightsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    contexts = ::Testing::MakeFake<::Testing::FakeContexts, IRequestContextMgr>();
    checker = ::Testing::MakeFake<FakePermissionsChecker, IPermissionsChecker>();
    hasContexts = true;
    checkerLookups = 0;
    current = this;
    ScriptwrightSetNamedInstanceProvider(&Provide);
    LogCapture::Instance().Take();
    SetMaxSeverity(Severity::DBG2);
  }
  void TearDown() override {
    SetMaxSeverity(Severity::ERR);
    ScriptwrightSetNamedInstanceProvider(nullptr);
    current = nullptr;
    static_cast<IRequestContextMgr*>(contexts)->Release();
    static_cast<IPermissionsChecker*>(checker)->Release();
  }

  // Makes `token` (node text, empty for none) the calling thread's context.
  void ActAs(const std::string& token) { contexts->current = Parse(token); }

  // Whether a line of severity `severity` ("DBG2", "WARN", ...) whose text
  // begins with `text` was logged since the last call (which is forgotten).
  static bool Logged(std::string_view severity, std::string_view text) {
    const std::string tag = "| " + std::string(severity) + " |";
    bool found = false;
    for (const std::string& line : LogCapture::Instance().Take()) {
      const size_t at = line.find(tag);
      if (at == std::string::npos) continue;
      // The text follows the file's field ("| ") and the scope indent.
      const size_t bar = line.find("| ", line.find(':', at + tag.size()));
      if (bar == std::string::npos) continue;
      const size_t start = line.find_first_not_of(' ', bar + 2);
      if (start != std::string::npos && line.compare(start, text.size(), text) == 0) found = true;
    }
    return found;
  }

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
