#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "Common/Components/NamedInstances.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"

namespace QueriesProcessing {
namespace {

using namespace std::chrono_literals;

// The host's named components, as fakes that record what reaches them.
class FakeHost : public CComponentBase,
                 public IDataSourceManager,
                 public IConfigSubscriptions,
                 public IConfigSubscription,
                 public IQueryProcessor {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IConfigSubscriptions, IConfigSubscription, IQueryProcessor>;

  HRESULT AddObserver(ITriggerObserver* observer) override {
    triggerObserver = observer;
    return S_OK;
  }
  HRESULT Subscribe(const VXNodePtr& filter, const VXNodePtr& subscription, IConfigObserver* observer,
                    IConfigSubscription** out) override {
    path = filter.GetString(u"NodePath");
    mask = subscription.GetInt32(u"ChangesMask");
    configObserver = observer;
    static_cast<IConfigSubscription*>(this)->AddRef();
    *out = this;
    return S_OK;
  }
  HRESULT Start() override {
    started = true;
    return S_OK;
  }
  HRESULT ProcessQuery(const VXNodePtr& query) override {
    std::lock_guard guard(lock);
    queries.push_back(query);
    return S_OK;
  }
  HRESULT CancelQuery(const VXNodePtr&) override {
    ++cancels;
    return S_OK;
  }

  ITriggerObserver* triggerObserver = nullptr;
  IConfigObserver* configObserver = nullptr;
  std::u16string path;
  int32_t mask = 0;
  bool started = false;
  std::mutex lock;
  std::vector<VXNodePtr> queries;
  std::atomic<int> cancels{0};
};

FakeHost* gHost = nullptr;

// Counts the log lines that hold `marker`.
class LineCounter : public Logger {
 public:
  explicit LineCounter(std::u16string_view marker) : marker_(marker) {}
  void Write(const char16_t* text, size_t length) override {
    if (std::u16string_view(text, length).find(marker_) != std::u16string_view::npos) ++count_;
  }
  int Count() const { return count_; }

 private:
  std::u16string_view marker_;
  std::atomic<int> count_{0};
};

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  const std::u16string_view wanted(name);
  if (wanted != u"DataSourceManager" && wanted != u"ConfigServer.Proxy" && wanted != u"Test.Executor") {
    return E_NOTFOUND;
  }
  return static_cast<IDataSourceManager*>(gHost)->QueryInterface(*iid, out);
}

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

class ScriptwrightTest : public ::testing::Test {
 protected:
  void SetUp() override {
    IDataSourceManager* host = nullptr;
    ASSERT_EQ(CComponentObject<FakeHost>::Create(IDataSourceManager::kIid, reinterpret_cast<void**>(&host)), S_OK);
    gHost = static_cast<FakeHost*>(host);
    ScriptwrightSetNamedInstanceProvider(&Provide);
    ASSERT_EQ(Module()->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid, component_.ReceiveVoid()), S_OK);
    catalog_ = Node(R"x(<catalog queries_processor="Test.Executor" complex_condition_names='str[]:[]'>
        <query_template _name="t"><sql_command _name="c" command="SELECT 1"/></query_template>
      </catalog>)x");
  }
  void TearDown() override {
    component_.As<IShutdown>()->Shutdown();
    component_ = CompPtr<IConfigurable>();
    ScriptwrightSetNamedInstanceProvider(nullptr);
    static_cast<IDataSourceManager*>(gHost)->Release();
  }
  static CompPtr<IModuleObject> Module() {
    CompPtr<IModuleObject> module;
    GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid());
    return module;
  }
  HRESULT Prepare(const std::string& templateName) {
    return component_.As<IQueryProcessor>()->ProcessQuery(Node("<Query Query_Template_Name=\"" + templateName + "\"/>"));
  }
  // Polls until `templateName` prepares, for at most five seconds.
  bool EventuallyPrepares(const std::string& templateName) {
    for (auto deadline = std::chrono::steady_clock::now() + 5s; std::chrono::steady_clock::now() < deadline;) {
      if (Prepare(templateName) == S_OK) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }

  CompPtr<IConfigurable> component_;
  VXNodePtr catalog_;
};

TEST_F(ScriptwrightTest, ConfiguresAndPassesQueriesOn) {
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  EXPECT_EQ(gHost->path, u"\\Tallyvane\\ReportingSettingsHistory");
  EXPECT_EQ(gHost->mask, 31);
  EXPECT_TRUE(gHost->started);
  EXPECT_TRUE(gHost->triggerObserver);

  auto processor = component_.As<IQueryProcessor>();
  ASSERT_EQ(Prepare("t"), S_OK);
  ASSERT_EQ(gHost->queries.size(), 1u);
  EXPECT_EQ(gHost->queries[0].ChildAt(0).GetString(u"SQL_Command"), u"\n/***\nc\n***/\nSELECT 1");

  EXPECT_EQ(processor->ProcessQuery(Node("<Other Query_Template_Name=\"t\"/>")), E_INVALIDARG);
  EXPECT_EQ(processor->ProcessQuery(VXNodePtr()), E_INVALIDARG);
  EXPECT_EQ(gHost->queries.size(), 1u);  // refused before the engine
  EXPECT_EQ(Prepare("missing"), E_INVALIDARG);
  EXPECT_EQ(processor->CancelQuery(Node("<Query/>")), E_INVALIDARG);
  EXPECT_EQ(processor->CancelQuery(Node("<Cookie Id=\"1\"/>")), S_OK);
  EXPECT_EQ(gHost->cancels, 1);
}

TEST_F(ScriptwrightTest, NotificationsRebuildTheEngineAndFailuresAreRetried) {
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  VXNodePtr added = Node(R"x(<query_template _name="added"><sql_command _name="c" command="SELECT 2"/></query_template>)x");
  catalog_.AddChild(added);
  EXPECT_EQ(Prepare("added"), E_INVALIDARG);  // nothing rebuilt yet
  gHost->configObserver->OnModify(VXNodePtr());
  ASSERT_TRUE(EventuallyPrepares("added"));

  // A catalogue that fails to load is retried every 100 ms. The tree is not
  // touched while the thread reads it: the failures are counted in the log.
  static LineCounter counter(u"CScriptwright::ReinitializeThread failed: ");
  static const bool counting = AddLogger(&counter);
  ASSERT_TRUE(counting);
  catalog_.DeleteAttribute(u"complex_condition_names");
  gHost->triggerObserver->OnTriggered(VXNodePtr());
  std::this_thread::sleep_for(350ms);
  component_.As<IShutdown>()->Shutdown();
  EXPECT_GE(counter.Count(), 2);
  EXPECT_LE(counter.Count(), 5);
}

TEST_F(ScriptwrightTest, ANotificationDuringARebuildCausesOneMore) {
  for (int i = 0; i < 3000; ++i) {  // a catalogue that takes a while to load
    catalog_.AddChild(Node("<query_template _name=\"t" + std::to_string(i) +
                           "\"><sql_command _name=\"c\" command=\"SELECT 1\"/></query_template>"));
  }
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  static LineCounter rebuilds(u"Initialize signled...");
  static const bool counting = AddLogger(&rebuilds);
  ASSERT_TRUE(counting);
  SetMaxSeverity(Severity::DBG);
  const int before = rebuilds.Count();
  gHost->configObserver->OnModify(VXNodePtr());
  while (rebuilds.Count() == before) std::this_thread::sleep_for(1ms);
  gHost->configObserver->OnModify(VXNodePtr());  // the first rebuild is under way
  gHost->configObserver->OnRemoved(VXNodePtr());  // merges with the one before
  for (auto deadline = std::chrono::steady_clock::now() + 5s;
       rebuilds.Count() - before < 2 && std::chrono::steady_clock::now() < deadline;) {
    std::this_thread::sleep_for(1ms);
  }
  std::this_thread::sleep_for(300ms);  // time for a third, which must not come
  SetMaxSeverity(Severity::ERR);
  EXPECT_EQ(rebuilds.Count() - before, 2);
}

TEST_F(ScriptwrightTest, ShutdownEndsARetryingThreadAndMayComeFirst) {
  EXPECT_EQ(component_.As<IShutdown>()->Shutdown(), S_OK);  // before Configure
  CompPtr<IConfigurable> second;
  ASSERT_EQ(Module()->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid, second.ReceiveVoid()), S_OK);
  ASSERT_EQ(second->Configure(catalog_), S_OK);
  catalog_.DeleteAttribute(u"complex_condition_names");
  second.As<IConfigObserver>()->OnAdded(VXNodePtr());
  std::this_thread::sleep_for(150ms);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(second.As<IShutdown>()->Shutdown(), S_OK);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(ScriptwrightTest, ConfigureFailures) {
  VXNodePtr noExecutor = Node(R"x(<catalog queries_processor="Nobody" complex_condition_names='str[]:[]'/>)x");
  EXPECT_EQ(component_->Configure(noExecutor), E_NOTFOUND);
  VXNodePtr noNames = Node(R"x(<catalog queries_processor="Test.Executor"/>)x");
  EXPECT_EQ(component_->Configure(noNames), E_NOTFOUND);
}

}  // namespace
}  // namespace QueriesProcessing
