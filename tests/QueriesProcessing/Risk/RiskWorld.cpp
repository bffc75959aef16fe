#include "RiskWorld.h"

#include "Common/Components/NamedInstances.h"
#include "Common/ConfigPath.h"
#include "Common/FormatString.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Risk/DBNameRiskAssessmentProcessor.h"

namespace QueriesProcessing::Testing {

namespace {

RiskWorld* gWorld = nullptr;

template <typename I, typename T>
HRESULT Hand(T* component, const GUID* iid, void** out) {
  return static_cast<I*>(component)->QueryInterface(*iid, out);
}

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  const std::u16string_view wanted(name);
  if (!gWorld) return E_NOTFOUND;
  if (wanted == u"ConfigServer.Proxy") return Hand<IConfigNodes>(gWorld->config, iid, out);
  if (wanted == u"Base.AppConfigStorage") return Hand<IConfigNodes>(gWorld->appConfig, iid, out);
  if (wanted == u"DataSourceManager") return Hand<IDataSources>(gWorld->dataSources, iid, out);
  if (wanted == u"Core.ServiceClient") return Hand<IServiceClient>(gWorld->services, iid, out);
  if (wanted == u"Security.PermissionsChecker") {
    return Hand<IPermissionsChecker>(gWorld->checker, iid, out);
  }
  if (wanted == u"Core.RequestContextMgr") {
    return Hand<IRequestContextMgr>(gWorld->contexts, iid, out);
  }
  return E_NOTFOUND;
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

HRESULT FakeConfigTree::FindNodes(const VXNodePtr& filter, IConfigCursor** cursor, VXNodePtr* nodes,
                                  uint32_t count, uint32_t* returned) {
  ++searches;
  if (cursor) *cursor = nullptr;
  *returned = 0;
  const VXNodePtr at = NodeAtPath(tree, filter.GetString(u"NodePath"));
  if (!at) return S_OK;
  if (!filter.GetBool(u"IsParent")) {
    if (count) nodes[(*returned)++] = at.Clone();
    return S_OK;
  }
  for (uint32_t i = 0; i < at.ChildCount() && *returned < count; ++i) {
    nodes[(*returned)++] = at.ChildAt(i).Clone();
  }
  return S_OK;
}

HRESULT FakeRiskServices::OpenService(const char16_t*, uint32_t, const GUID& iid, void** proxy) {
  return static_cast<IServiceClient*>(this)->QueryInterface(iid, proxy);
}

HRESULT FakeRiskServices::Call(const VXNodePtr& request, VXNodePtr* response) {
  if (request.GetName() == u"DatabaseHealthRequest") {
    *response = health;
    return S_OK;
  }
  itemRequests.push_back(request.Clone());
  if (Failed(itemsStatus)) return itemsStatus;
  const auto found = items.find(FormatGuid(request.GetGuid(u"ContainerId")));
  if (found != items.end()) *response = found->second.Clone();
  return S_OK;
}

RiskWorld::RiskWorld()
    : config(::Testing::MakeFake<FakeConfigTree, IConfigNodes>()),
      appConfig(::Testing::MakeFake<FakeConfigTree, IConfigNodes>()),
      dataSources(::Testing::MakeFake<FakeDataSources, IDataSources>()),
      services(::Testing::MakeFake<FakeRiskServices, IServiceClient>()),
      checker(::Testing::MakeFake<FakePermissionsChecker, IPermissionsChecker>()),
      contexts(::Testing::MakeFake<::Testing::FakeContexts, IRequestContextMgr>()) {
  gWorld = this;
  ScriptwrightSetNamedInstanceProvider(&Provide);
}

RiskWorld::~RiskWorld() {
  ScriptwrightSetNamedInstanceProvider(nullptr);
  gWorld = nullptr;
  static_cast<IConfigNodes*>(config)->Release();
  static_cast<IConfigNodes*>(appConfig)->Release();
  static_cast<IDataSources*>(dataSources)->Release();
  static_cast<IServiceClient*>(services)->Release();
  static_cast<IPermissionsChecker*>(checker)->Release();
  static_cast<IRequestContextMgr*>(contexts)->Release();
}

void RiskWorld::AddPlan(const Plan& plan) {
  managedObjects_ +=
      "<_ _value=\"" + plan.id +
      "\"><_ _name=\"ReportingSettings\" Enabled=\"bool:" + (plan.reporting ? "true" : "false") +
      "\"/></_>";
  dataSources->nodes[FormatGuid(MakeGuid(ToUtf16(plan.id)))] =
      Parse("<_ db=\"" + plan.db + "\" DatabaseSchema=\"i32:0\" Enabled=\"bool:true\"/>");
  const std::string name = Lower(plan.id.substr(1, 36));
  planSettings_ += "<_ _name=\"" + name + "\"><_ _name=\"AuditedSystems\"><_ _value=\"" +
                   kSourceType + "\" Enabled=\"bool:" + (plan.enabledSource ? "true" : "false") +
                   "\"><_ _name=\"ScopeItems\"><_/></_>"
                   "<_ _name=\"StateInTimeReporting\" Enabled=\"bool:true\"/></_></_></_>";
  services->items[FormatGuid(MakeGuid(ToUtf16(plan.id)))] = Parse(plan.items);
}

void RiskWorld::SetHealth(const std::string& db, bool available, bool mandatory) {
  healthEntries_ += "<_ _name=\"DatabaseHealthEntry\" DbName=\"" + db +
                    "\" Available=\"bool:" + (available ? "true" : "false") +
                    "\" Mandatory=\"bool:" + (mandatory ? "true" : "false") + "\"/>";
}

void RiskWorld::Serve() {
  config->tree = Parse("<_><_ _name=\"Tallyvane\"><_ _name=\"ManagedObjects\">" + managedObjects_ +
                       "</_><_ _name=\"ReportingSettingsHistory\"><_ _name=\"Containers\"/></_>"
                       "<_ _name=\"MonitoringPlans\">" +
                       planSettings_ + "</_></_>" + extraConfig_ + "</_>");
  appConfig->tree = config->tree;
  services->health = Parse("<_><_ _name=\"DatabaseHealthResponse\">" + healthEntries_ + "</_></_>");
}

std::string RiskWorld::Run(const std::string& processorConfig, const std::string& request,
                           const std::string& text) {
  Serve();
  VXNodePtr query = Parse(request);
  std::u16string written = ToUtf16(text);
  CDBNameRiskAssessmentProcessor processor;
  const HRESULT loaded = processor.Initialize(Parse(processorConfig));
  if (Failed(loaded)) {
    return ToUtf8(FormatString(u"load error 0x%08X", static_cast<uint32_t>(loaded)));
  }
  const HRESULT status = processor.ProcessNode(query, VXNodePtr(), written);
  if (Failed(status)) {
    return ToUtf8(FormatString(u"error 0x%08X: ", static_cast<uint32_t>(status)) + written);
  }
  return ToUtf8(written);
}

}  // namespace QueriesProcessing::Testing
