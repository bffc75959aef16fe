#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "Common/Components/NamedInstances.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/ServiceLayer/RequestContext.h"
#include "Common/SubsystemHelpers/DBHealth.h"
#include "Host/CatalogWatch.h"
#include "Host/HostComponents.h"
#include "Host/HostDatabaseSettings.h"
#include "Host/NamedInstanceTable.h"

namespace {

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    contexts_ = MakeHostComponent<CHostRequestContextMgr>();
    services_ = MakeHostComponent<CHostServiceClient>();
    names_.Add(u"Core.RequestContextMgr", static_cast<IRequestContextMgr*>(contexts_));
    names_.Add(u"Core.ServiceClient", static_cast<IServiceClient*>(services_));
    names_.Install();
    ScriptwrightSetNamedInstanceProvider(&NamedInstanceTable::Provide);
  }
  void TearDown() override {
    ScriptwrightSetNamedInstanceProvider(nullptr);
    static_cast<IRequestContextMgr*>(contexts_)->Release();
    static_cast<IServiceClient*>(services_)->Release();
  }

  NamedInstanceTable names_;
  CComponentObject<CHostRequestContextMgr>* contexts_ = nullptr;
  CComponentObject<CHostServiceClient>* services_ = nullptr;
};

TEST_F(HostTest, RequestContextsNestPerThread) {
  const VXNodePtr caller = Node(R"x(<Token _name="auditor"/>)x");
  contexts_->SetCaller(caller);
  EXPECT_EQ(GetCurrentContext().get(), caller.get());
  {
    const VXNodePtr client = Node(R"x(<Token _name="client"/>)x");
    RequestContext scope(client);
    EXPECT_EQ(GetCurrentContext().get(), client.get());
    std::thread([&] {
      EXPECT_EQ(GetCurrentContext().get(), caller.get());
    }).join();  // other threads keep theirs
  }
  EXPECT_EQ(GetCurrentContext().get(), caller.get());

  ScriptwrightSetNamedInstanceProvider(nullptr);  // no manager: entering and leaving do nothing
  RequestContext none(caller);
  EXPECT_FALSE(GetCurrentContext());
}

TEST_F(HostTest, ServicesAnswerFromTheirReplies) {
  services_->SetServices(ServiceReplies::ReadAll(Node(R"x(<Services>
      <Service Url="net.tcp://directory"><Reply Request="SitRequest"><SitResponse Status="i32:7"/></Reply></Service>
      <Service Url="net.tcp://directory"><Reply Request="SitRequest"><SitResponse Status="i32:8"/></Reply></Service>
    </Services>)x")));
  auto client = GetNamedInstance<IServiceClient>(u"Core.ServiceClient");
  CompPtr<IServiceProxy> proxy;
  ASSERT_EQ(
      client->OpenService(u"net.tcp://directory", 0, IServiceProxy::kIid, proxy.ReceiveVoid()),
      S_OK);
  VXNodePtr response;
  ASSERT_EQ(proxy->Call(Node("<SitRequest/>"), &response), S_OK);
  EXPECT_EQ(response.GetType(), u"SitResponse");
  EXPECT_EQ(response.GetInt32(u"Status"), 7);
  EXPECT_EQ(proxy->Call(Node("<Other/>"), &response), E_NOTFOUND);
  EXPECT_EQ(
      client->OpenService(u"net.tcp://elsewhere", 0, IServiceProxy::kIid, proxy.ReceiveVoid()),
      E_NOTFOUND);

  void* out = nullptr;
  EXPECT_EQ(AxGetNamedInstance(u"No.Such.Instance", 0, IServiceClient::kIid, &out), E_NOTFOUND);
  EXPECT_EQ(AxGetNamedInstance(u"Core.ServiceClient", 0, IRequestContextMgr::kIid, &out),
            E_NOINTERFACE);
}

// Each health request asks the gate once, so successive requests read its
// successive replies.
TEST_F(HostTest, TheHealthReaderReadsTheGatesSuccessiveReplies) {
  services_->SetServices(ServiceReplies::ReadAll(Node(R"x(<Services>
      <Service Url="Service.DatabaseManagementGate">
        <Reply Request="DatabaseHealthRequest"><_><_ _name="DatabaseHealthResponse">
          <_ _name="DatabaseHealthEntry" DbName="Audit_Files" Available="bool:true" Mandatory="bool:false"/>
          <_ _name="DatabaseHealthEntry" DbName="Audit_Mail" Available="bool:false" Mandatory="bool:true"/>
        </_></_></Reply>
        <Reply Request="DatabaseHealthRequest"><_><_ _name="DatabaseHealthResponse">
          <_ _name="DatabaseHealthEntry" DbName="Audit_Files" Available="bool:false" Mandatory="bool:false"/>
        </_></_></Reply>
      </Service>
    </Services>)x")));
  const bool filesAvailable[] = {true, false, false};
  for (const bool files : filesAvailable) {
    CDBHealth health;
    health.LoadHealthInfo();
    bool available = !files;
    bool mandatory = true;
    ASSERT_TRUE(health.GetDBInfoByName(u"Audit_Files", &available, &mandatory));
    EXPECT_EQ(available, files);
    EXPECT_FALSE(mandatory);
    EXPECT_EQ(health.GetDBInfoByName(u"Audit_Mail", &available, nullptr), files);
  }
}

TEST(CatalogWatchTest, GivesANewTreeOnlyWhenTheFileChangedAndReads) {
  namespace fs = std::filesystem;
  const fs::path file =
      fs::temp_directory_path() / ("scriptwright-watch-" + std::to_string(getpid()) + ".xml");
  std::ofstream(file) << R"x(<nr><catalog A="1"/></nr>)x";
  const auto start = fs::last_write_time(file);
  CatalogWatch watch(file.string());
  std::ostringstream err;
  EXPECT_FALSE(watch.Changed(err));  // as when the watch was made

  struct Step {
    const char* text;
    int seconds;         // the file's time, after the start
    const char* loaded;  // attribute of the tree given, or null for none
    bool reported;
  };
  const Step steps[] = {
      {R"x(<nr><catalog B="u32:2"/><other/></nr>)x", 1, "B", false},
      {R"x(<nr><catalog B="u32:2"/><other/></nr>)x", 1, nullptr, false},  // nothing new
      {"<nr><broken", 2, nullptr, true},
      {"<nr><broken", 2, nullptr, false},                 // reported once
      {"<nr/>", 3, nullptr, true},                        // no node
      {R"x(<nr><catalog C="3"/></nr>)x", 3, "C", false},  // same time, other size
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.text);
    std::ofstream(file) << step.text;
    fs::last_write_time(file, start + std::chrono::seconds(step.seconds));
    err.str("");
    const VXNodePtr fresh = watch.Changed(err);
    EXPECT_EQ(static_cast<bool>(fresh), step.loaded != nullptr);
    if (fresh) {
      EXPECT_TRUE(fresh.HasAttribute(ToUtf16(step.loaded)));
    }
    EXPECT_EQ(err.str().find("(the catalogue in use stays)") != std::string::npos, step.reported)
        << err.str();
  }
  fs::remove(file);
}

TEST(HostConfigProxyTest, FindsNodesByPathInChunks) {
  auto* proxy = MakeHostComponent<CHostConfigProxy>();
  proxy->SetTree(Node(R"x(<Config>
      <_ _name="Tallyvane"><_ _name="ManagedObjects">
        <Object _name="a"><Deep _name="d"/></Object><Object _name="b"/><Object _name="c"/>
      </_></_>
    </Config>)x"));
  IConfigNodes* nodes = proxy;
  auto filter = [](const std::u16string& path, bool isParent, int64_t depth) {
    VXNodePtr f = VXNodePtr::Create(u"", u"FilterByPath");
    f.SetString(u"NodePath", path);
    f.SetBool(u"IsParent", isParent);
    f.SetInt64(u"MaxDepth", depth);
    return f;
  };
  VXNodePtr found[4];
  uint32_t returned = 0;
  CompPtr<IConfigCursor> cursor;
  ASSERT_EQ(nodes->FindNodes(filter(u"\\Tallyvane\\ManagedObjects", true, 0x7FFFFFFF),
                             cursor.Receive(), found, 2, &returned),
            S_OK);
  ASSERT_EQ(returned, 2u);
  EXPECT_EQ(found[0].GetName(), u"a");
  EXPECT_EQ(found[0].ChildCount(), 1u);
  ASSERT_EQ(nodes->FindMore(cursor.get(), found, 2, &returned), S_OK);
  ASSERT_EQ(returned, 1u);
  EXPECT_EQ(found[0].GetName(), u"c");
  EXPECT_EQ(nodes->FindMore(cursor.get(), found, 2, &returned), S_OK);
  EXPECT_EQ(returned, 0u);

  ASSERT_EQ(nodes->FindNodes(filter(u"\\No\\Such", true, 1), nullptr, found, 4, &returned), S_OK);
  EXPECT_EQ(returned, 0u);
  static_cast<IConfigNodes*>(proxy)->Release();
}

// Counts its OnModify calls and answers each with `status`.
class CCountingObserver : public CComponentBase, public IConfigObserver {
 public:
  using Interfaces = std::tuple<IConfigObserver>;
  HRESULT OnModify(const VXNodePtr&) override {
    ++told;
    return status;
  }
  HRESULT OnAdded(const VXNodePtr&) override { return S_OK; }
  HRESULT OnRemoved(const VXNodePtr&) override { return S_OK; }
  int told = 0;
  HRESULT status = S_OK;
};

}  // namespace

TEST(HostDatabaseSettingsTest, AnswersCopiesAndTellsItsSubscribersOfAChangeUntilForgotten) {
  const auto service =
      CompPtr<IDatabaseSettingsService>::Attach(MakeHostComponent<CHostDatabaseSettings>());
  auto* settings = static_cast<CHostDatabaseSettings*>(service.get());
  VXNodePtr answer;
  ASSERT_EQ(service->GetCommonDbSettings(&answer), S_OK);
  EXPECT_FALSE(answer);  // none yet

  const VXNodePtr first = Node(R"x(<DatabaseSettings Enabled="bool:false" Database="a.db"/>)x");
  settings->SetSettings(first);
  ASSERT_EQ(service->GetCommonDbSettings(&answer), S_OK);
  answer.SetString(u"Database", u"changed.db");  // the caller's own copy
  ASSERT_EQ(service->GetCommonDbSettings(&answer), S_OK);
  EXPECT_EQ(answer.GetString(u"Database"), u"a.db");

  auto* kept = MakeHostComponent<CCountingObserver>();
  auto* failing = MakeHostComponent<CCountingObserver>();
  const auto keptHeld = CompPtr<IConfigObserver>::Attach(kept);
  const auto failingHeld = CompPtr<IConfigObserver>::Attach(failing);
  failing->status = E_FAIL;
  ASSERT_EQ(service->Subscribe(kept), S_OK);
  ASSERT_EQ(service->Subscribe(failing), S_OK);
  EXPECT_EQ(service->Subscribe(nullptr), E_INVALIDARG);

  // Every subscriber is told, the first failure comes back, and the new
  // settings are in place by then.
  EXPECT_EQ(settings->Change(Node(R"x(<DatabaseSettings Enabled="bool:true" Database="b.db"/>)x")),
            E_FAIL);
  EXPECT_EQ(kept->told, 1);
  EXPECT_EQ(failing->told, 1);
  ASSERT_EQ(service->GetCommonDbSettings(&answer), S_OK);
  EXPECT_TRUE(answer.GetBool(u"Enabled"));

  settings->RemoveObserver(failingHeld.get());
  EXPECT_EQ(settings->Change(first), S_OK);
  EXPECT_EQ(kept->told, 2);
  EXPECT_EQ(failing->told, 1);
  settings->Clear();
}
