#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "tests/Common/FakeRequestContexts.h"
#include "tests/QueriesProcessing/Rights/RightsTestSupport.h"
#include "tests/QueriesProcessing/Targeting/FakeDataSources.h"

namespace QueriesProcessing::Testing {

// "ConfigServer.Proxy" or "Base.AppConfigStorage" over a tree whose root
// stands for "\" and whose path components are node names. IsParent gives
// copies of the children of the node at the path, else a copy of it; the
// whole subtree comes along whatever MaxDepth says. Never gives a cursor.
class FakeConfigTree : public CComponentBase, public IConfigNodes {
 public:
  using Interfaces = std::tuple<IConfigNodes>;
  HRESULT FindNodes(const VXNodePtr& filter, IConfigCursor** cursor, VXNodePtr* nodes,
                    uint32_t count, uint32_t* returned) override;
  HRESULT FindMore(IConfigCursor*, VXNodePtr*, uint32_t, uint32_t* returned) override {
    *returned = 0;
    return S_OK;
  }

  VXNodePtr tree;
  std::atomic<int> searches{0};
};

// "Core.ServiceClient" with the two services the processor calls: the
// database gate answers `health` to every request; the regulator answers
// `items[ContainerId in format 0]`, or fails with `itemsStatus`, and keeps
// each request.
class FakeRiskServices : public CComponentBase, public IServiceClient, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceClient, IServiceProxy>;
  HRESULT OpenService(const char16_t* url, uint32_t flags, const GUID& iid, void** proxy) override;
  HRESULT Call(const VXNodePtr& request, VXNodePtr* response) override;

  VXNodePtr health;
  std::map<std::u16string, VXNodePtr> items;
  HRESULT itemsStatus = S_OK;
  std::vector<VXNodePtr> itemRequests;
};

// Everything the risk assessment processor talks to, served as named
// instances while the object lives. Plans are added with a database, an
// enabled data source of kSourceType and two items "a" and "b" unless said
// otherwise; the caller has no token (an in-process call) until ActAs.
class RiskWorld {
 public:
  static constexpr char kSourceType[] = "{A1B2C3D4-0000-4000-8000-000000000001}";

  RiskWorld();
  ~RiskWorld();
  RiskWorld(const RiskWorld&) = delete;
  RiskWorld& operator=(const RiskWorld&) = delete;

  struct Plan {
    std::string id;  // a GUID
    std::string db;
    bool reporting = true;      // ReportingSettings Enabled
    bool enabledSource = true;  // its data source of kSourceType is enabled
    std::string items = R"(<_ ResultCode="i32:0" ScopeItems='str[]:["a","b"]'/>)";
  };
  void AddPlan(const Plan& plan);
  // The gate reports `db` so.
  void SetHealth(const std::string& db, bool available, bool mandatory);
  // Extra children of the configuration root (text form), e.g. the display
  // names' nodes.
  void AddConfig(const std::string& nodes) { extraConfig_ += nodes; }
  // Makes `token` (text form, empty for none) the caller.
  void ActAs(const std::string& token) { contexts->current = Parse(token); }

  // Serves what was added: the configuration tree and the gate's report.
  void Serve();
  // Serves, initialises a processor with the processor node `config` (text
  // form) and runs it over `text` with the request `request` (text form).
  // The result, or "load error 0x..." / "error 0x...: <text as left>".
  std::string Run(const std::string& config, const std::string& request, const std::string& text);

  FakeConfigTree* config;
  FakeConfigTree* appConfig;
  FakeDataSources* dataSources;
  FakeRiskServices* services;
  FakePermissionsChecker* checker;
  ::Testing::FakeContexts* contexts;

 private:
  std::string managedObjects_;
  std::string planSettings_;
  std::string healthEntries_;
  std::string extraConfig_;
};

}  // namespace QueriesProcessing::Testing
