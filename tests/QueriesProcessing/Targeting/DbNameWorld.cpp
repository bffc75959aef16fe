#include "DbNameWorld.h"

#include "Common/Components/NamedInstances.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Targeting/DBNameProcessor.h"

namespace QueriesProcessing::Testing {

namespace {

DbNameWorld* gWorld = nullptr;

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  const std::u16string_view wanted(name);
  if (!gWorld) return E_NOTFOUND;
  if (wanted == u"ConfigServer.Proxy") {
    return static_cast<IConfigNodes*>(gWorld->server)->QueryInterface(*iid, out);
  }
  if (wanted == u"DataSourceManager" && gWorld->serveDataSources) {
    return static_cast<IDataSources*>(gWorld->dataSources)->QueryInterface(*iid, out);
  }
  if (wanted == u"Core.ServiceClient" && gWorld->serveGate) {
    return static_cast<IServiceClient*>(gWorld->gate)->QueryInterface(*iid, out);
  }
  if (wanted == u"Core.RequestContextMgr") {
    return static_cast<IRequestContextMgr*>(gWorld->contexts)->QueryInterface(*iid, out);
  }
  return E_NOTFOUND;
}

}  // namespace

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

DbNameWorld::DbNameWorld()
    : server(::Testing::MakeFake<FakeConfigServer, IConfigNodes>()),
      dataSources(::Testing::MakeFake<FakeDataSources, IDataSources>()),
      gate(::Testing::FakeGate::Make()),
      contexts(::Testing::MakeFake<::Testing::FakeContexts, IRequestContextMgr>()) {
  gate->contexts = contexts;
  gate->response = Node(R"(<_><_ _name="DatabaseHealthResponse"/></_>)");
  gWorld = this;
  ScriptwrightSetNamedInstanceProvider(&Provide);
}

DbNameWorld::~DbNameWorld() {
  ScriptwrightSetNamedInstanceProvider(nullptr);
  gWorld = nullptr;
  static_cast<IConfigNodes*>(server)->Release();
  static_cast<IDataSources*>(dataSources)->Release();
  static_cast<IServiceClient*>(gate)->Release();
  static_cast<IRequestContextMgr*>(contexts)->Release();
}

void DbNameWorld::AddSource(const std::string& type, const std::string& id,
                            const std::string& dataSource, bool everEnabled) {
  containers_ += "<_ _value=\"" + id +
                 "\" WasEverEnabled=\"bool:" + (everEnabled ? "true" : "false") +
                 "\"><_ _name=\"AuditedSystems\"><_ _name=\"AuditedSystemNodeType\" _value=\"" +
                 type + "\"/></_></_>";
  if (!dataSource.empty()) dataSources->nodes[ToUtf16(id)] = Node(dataSource);
}

void DbNameWorld::SetHealth(const std::vector<Health>& entries) {
  std::string response = R"(<_><_ _name="DatabaseHealthResponse">)";
  for (const Health& entry : entries) {
    response += "<_ _name=\"DatabaseHealthEntry\" DbName=\"" + entry.db +
                "\" Available=\"bool:" + (entry.available ? "true" : "false") +
                "\" Mandatory=\"bool:" + (entry.mandatory ? "true" : "false") + "\"/>";
  }
  gate->response = Node(response + "</_></_>");
}

HRESULT DbNameWorld::Initialize(CDBNameProcessor& processor, const std::string& config) {
  server->byPath = {{u"\\Tallyvane\\ReportingSettingsHistory",
                     Node(R"(<_ _name="ReportingSettingsHistory"><_ _name="Containers">)" +
                          containers_ + "</_></_>")}};
  return processor.Initialize(Node(config));
}

std::string ProcessorConfig(const std::string& children) {
  return R"(<_ _name="%DB_NAME%" db_variable="%DB_NAME%" schema_variable="%SCHEMA_NAME%")"
         R"( view_variable="%VIEW_NAME%" default_db_schema="dbo")"
         R"( alias_product_id="%CONDITION_PRODUCT_ID%" db_hash_variable="%DB_HASH%")"
         R"( continuation_mark_column="RID">)" +
         children + "</_>";
}

}  // namespace QueriesProcessing::Testing
