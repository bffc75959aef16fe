#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "Common/Components/NamedInstances.h"
#include "Common/FormatString.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/TreeDepth.h"
#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"
#include "tests/Common/LogCapture.h"

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
  using Interfaces =
      std::tuple<IDataSourceManager, IConfigSubscriptions, IConfigSubscription, IQueryProcessor>;

  HRESULT AddObserver(ITriggerObserver* observer) override {
    triggerObserver = observer;
    return S_OK;
  }
  HRESULT Subscribe(const VXNodePtr& filter, const VXNodePtr& subscription,
                    IConfigObserver* observer, IConfigSubscription** out) override {
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
    if (raise) raise();
    std::lock_guard guard(lock);
    queries.push_back(query);
    return S_OK;
  }
  HRESULT CancelQuery(const VXNodePtr&) override {
    if (raise) raise();
    ++cancels;
    return S_OK;
  }
  size_t QueryCount() {
    std::lock_guard guard(lock);
    return queries.size();
  }

  ITriggerObserver* triggerObserver = nullptr;
  IConfigObserver* configObserver = nullptr;
  std::u16string path;
  int32_t mask = 0;
  bool started = false;
  std::mutex lock;
  std::vector<VXNodePtr> queries;
  std::atomic<int> cancels{0};
  void (*raise)() = nullptr;  // thrown by the executing component's operations when set
};

FakeHost* gHost = nullptr;

// How many log lines since the last call hold `marker`.
int LinesWith(std::string_view marker) {
  int count = 0;
  for (const std::string& line : LogCapture::Instance().Take())
    count += line.find(marker) != std::string::npos;
  return count;
}

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  const std::u16string_view wanted(name);
  if (wanted != u"DataSourceManager" && wanted != u"ConfigServer.Proxy" &&
      wanted != u"Test.Executor") {
    return E_NOTFOUND;
  }
  return static_cast<IDataSourceManager*>(gHost)->QueryInterface(*iid, out);
}

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

class ScriptwrightTest : public ::testing::Test {
 protected:
  void SetUp() override {
    IDataSourceManager* host = nullptr;
    ASSERT_EQ(CComponentObject<FakeHost>::Create(IDataSourceManager::kIid,
                                                 reinterpret_cast<void**>(&host)),
              S_OK);
    gHost = static_cast<FakeHost*>(host);
    ScriptwrightSetNamedInstanceProvider(&Provide);
    ASSERT_EQ(Module()->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid,
                                       component_.ReceiveVoid()),
              S_OK);
    catalog_ =
        Node(R"x(<catalog queries_processor="Test.Executor" complex_condition_names='str[]:[]'>
        <query_template _name="t"><sql_command _name="c" command="SELECT 1"/></query_template>
      </catalog>)x");
  }
  void TearDown() override {
    component_.As<IShutdown>()->Shutdown();
    component_ = CompPtr<IConfigurable>();
    ScriptwrightSetNamedInstanceProvider(nullptr);
    static_cast<IDataSourceManager*>(gHost)->Release();
  }
  static CompPtr<IConfigurable> NewComponent() {
    CompPtr<IConfigurable> component;
    EXPECT_EQ(Module()->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid,
                                       component.ReceiveVoid()),
              S_OK);
    return component;
  }
  static CompPtr<IModuleObject> Module() {
    CompPtr<IModuleObject> module;
    GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid());
    return module;
  }
  HRESULT Prepare(const std::string& templateName) {
    return component_.As<IQueryProcessor>()->ProcessQuery(
        Node("<Query Query_Template_Name=\"" + templateName + "\"/>"));
  }
  // Polls until `templateName` prepares, for at most five seconds.
  bool EventuallyPrepares(const std::string& templateName) {
    for (auto deadline = std::chrono::steady_clock::now() + 5s;
         std::chrono::steady_clock::now() < deadline;) {
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
  VXNodePtr added = Node(
      R"x(<query_template _name="added"><sql_command _name="c" command="SELECT 2"/></query_template>)x");
  catalog_.AddChild(added);
  EXPECT_EQ(Prepare("added"), E_INVALIDARG);  // nothing rebuilt yet
  gHost->configObserver->OnModify(VXNodePtr());
  ASSERT_TRUE(EventuallyPrepares("added"));

  // A catalogue that fails to load is retried. The tree is not touched
  // while the thread reads it: the failures are counted in the log.
  LinesWith("");
  catalog_.DeleteAttribute(u"complex_condition_names");
  gHost->triggerObserver->OnTriggered(VXNodePtr());
  int failures = 0;
  for (auto deadline = std::chrono::steady_clock::now() + 5s;
       failures < 2 && std::chrono::steady_clock::now() < deadline;) {
    failures += LinesWith("CScriptwright::ReinitializeThread failed: ");
    std::this_thread::sleep_for(5ms);
  }
  EXPECT_GE(failures, 2);
}

TEST_F(ScriptwrightTest, ANotificationDuringARebuildCausesOneMore) {
  for (int i = 0; i < 3000; ++i) {  // a catalogue that takes a while to load
    catalog_.AddChild(Node("<query_template _name=\"t" + std::to_string(i) +
                           "\"><sql_command _name=\"c\" command=\"SELECT 1\"/></query_template>"));
  }
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  SetMaxSeverity(Severity::DBG);
  LinesWith("");
  int rebuilds = 0;
  auto waitFor = [&](int wanted) {
    for (auto deadline = std::chrono::steady_clock::now() + 5s;
         rebuilds < wanted && std::chrono::steady_clock::now() < deadline;) {
      rebuilds += LinesWith("Initialize signled...");
      std::this_thread::sleep_for(1ms);
    }
  };
  gHost->configObserver->OnModify(VXNodePtr());
  waitFor(1);
  gHost->configObserver->OnModify(VXNodePtr());   // the first rebuild is under way
  gHost->configObserver->OnRemoved(VXNodePtr());  // merges with the one before
  waitFor(2);
  std::this_thread::sleep_for(300ms);  // room for a third, which must not come
  rebuilds += LinesWith("Initialize signled...");
  SetMaxSeverity(Severity::ERR);
  EXPECT_EQ(rebuilds, 2);
}

TEST_F(ScriptwrightTest, ShutdownEndsARetryingThreadAndMayComeFirst) {
  EXPECT_EQ(component_.As<IShutdown>()->Shutdown(), S_OK);  // before Configure
  CompPtr<IConfigurable> second;
  ASSERT_EQ(
      Module()->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid, second.ReceiveVoid()),
      S_OK);
  ASSERT_EQ(second->Configure(catalog_), S_OK);
  catalog_.DeleteAttribute(u"complex_condition_names");
  second.As<IConfigObserver>()->OnAdded(VXNodePtr());
  std::this_thread::sleep_for(150ms);  // the rebuild fails and is retried meanwhile
  EXPECT_EQ(second.As<IShutdown>()->Shutdown(), S_OK);  // a hang fails by the test's timeout
}

TEST_F(ScriptwrightTest, ConfigureFailures) {
  VXNodePtr noExecutor =
      Node(R"x(<catalog queries_processor="Nobody" complex_condition_names='str[]:[]'/>)x");
  EXPECT_EQ(component_->Configure(noExecutor), E_NOTFOUND);
  // A failed Configure shut the component down.
  EXPECT_EQ(component_->Configure(catalog_), E_SHUTTING_DOWN);
  EXPECT_EQ(Prepare("t"), E_SHUTTING_DOWN);
  auto fresh = NewComponent();
  VXNodePtr noNames = Node(R"x(<catalog queries_processor="Test.Executor"/>)x");
  EXPECT_EQ(fresh->Configure(noNames), E_NOTFOUND);
}

bool AnyLineHas(const std::vector<std::string>& lines, std::u16string_view text) {
  for (const auto& line : lines) {
    if (line.find(ToUtf8(text)) != std::string::npos) return true;
  }
  return false;
}

// The statuses of the exceptions themselves are the border's (tested with
// the components); these show that both entry points have one.
TEST_F(ScriptwrightTest, StandardExceptionsBecomeStatusesAtTheBorder) {
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  const struct {
    void (*raise)();
    HRESULT expected;
    const char16_t* text;
  } cases[] = {
      {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, u": std::bad_alloc"},
      {[] { throw "a C string"; }, E_FAIL, u": an exception of unknown type"},
  };
  auto& capture = LogCapture::Instance();
  auto processor = component_.As<IQueryProcessor>();
  for (const auto& c : cases) {
    for (const bool cancel : {false, true}) {
      capture.Take();
      gHost->raise = c.raise;
      const HRESULT status = cancel ? processor->CancelQuery(Node("<Cookie/>")) : Prepare("t");
      gHost->raise = nullptr;
      EXPECT_EQ(status, c.expected) << ToUtf8(c.text);
      const auto info = GetErrorInfo();
      ASSERT_TRUE(info);
      EXPECT_EQ(info->code, c.expected);
      EXPECT_TRUE(info->description.ends_with(c.text)) << ToUtf8(info->description);
      const std::u16string name = cancel
                                      ? u"QueriesProcessing::CScriptwright::CancelQuery failed: "
                                      : u"QueriesProcessing::CScriptwright::ProcessQuery failed: ";
      EXPECT_TRUE(AnyLineHas(
          capture.Take(),
          name + FormatString(u"0x%08X ", static_cast<uint32_t>(c.expected)) + info->description));
    }
  }
  EXPECT_EQ(Prepare("t"), S_OK);  // the component goes on
}

TEST_F(ScriptwrightTest, ASecondConfigureIsRefusedAndTheFirstStands) {
  EXPECT_EQ(Prepare("t"), E_INVALID_STATE);  // before Configure
  EXPECT_EQ(component_.As<IQueryProcessor>()->CancelQuery(Node("<Cookie/>")), E_INVALID_STATE);
  EXPECT_EQ(gHost->QueryCount() + gHost->cancels, 0u);

  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  VXNodePtr other =
      Node(R"x(<catalog queries_processor="Test.Executor" complex_condition_names='str[]:[]'>
      <query_template _name="other"><sql_command _name="c" command="SELECT 2"/></query_template></catalog>)x");
  EXPECT_EQ(component_->Configure(other), E_INVALID_STATE);
  EXPECT_EQ(component_->Configure(catalog_), E_INVALID_STATE);
  EXPECT_EQ(Prepare("other"), E_INVALIDARG);  // the second catalogue was not taken
  EXPECT_EQ(Prepare("t"), S_OK);
  // The first thread still rebuilds from the first catalogue.
  catalog_.AddChild(Node(
      R"x(<query_template _name="added"><sql_command _name="c" command="SELECT 3"/></query_template>)x"));
  gHost->configObserver->OnModify(VXNodePtr());
  EXPECT_TRUE(EventuallyPrepares("added"));
}

TEST_F(ScriptwrightTest, CallsAfterShutdownFailFast) {
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  ASSERT_EQ(Prepare("t"), S_OK);
  ASSERT_EQ(component_.As<IShutdown>()->Shutdown(), S_OK);
  const size_t queries = gHost->QueryCount();
  auto processor = component_.As<IQueryProcessor>();
  VXNodePtr query = Node("<Query Query_Template_Name=\"t\"/>");
  EXPECT_EQ(processor->ProcessQuery(query), E_SHUTTING_DOWN);
  EXPECT_EQ(query.ChildCount(), 0u);  // the engine never saw it
  EXPECT_EQ(processor->CancelQuery(Node("<Cookie/>")), E_SHUTTING_DOWN);
  EXPECT_EQ(component_->Configure(catalog_), E_SHUTTING_DOWN);
  EXPECT_EQ(component_.As<IShutdown>()->Shutdown(), S_OK);  // again
  EXPECT_EQ(gHost->QueryCount(), queries);
  EXPECT_EQ(gHost->cancels, 0);
  EXPECT_EQ(component_.As<IConfigObserver>()->OnModify(VXNodePtr()),
            S_OK);  // notifications are harmless

  // Before Configure, too.
  auto fresh = NewComponent();
  ASSERT_EQ(fresh.As<IShutdown>()->Shutdown(), S_OK);
  EXPECT_EQ(fresh->Configure(catalog_), E_SHUTTING_DOWN);
  EXPECT_EQ(fresh.As<IQueryProcessor>()->ProcessQuery(Node("<Query Query_Template_Name=\"t\"/>")),
            E_SHUTTING_DOWN);
}

TEST_F(ScriptwrightTest, ShutdownWhileRequestsRun) {
  ASSERT_EQ(component_->Configure(catalog_), S_OK);
  auto processor = component_.As<IQueryProcessor>();
  std::atomic<int> refused{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 2; ++i) {
    callers.emplace_back([&] {
      for (int n = 0; n < 100000; ++n) {
        const HRESULT status = processor->ProcessQuery(Node("<Query Query_Template_Name=\"t\"/>"));
        if (status == E_SHUTTING_DOWN) {
          ++refused;
          return;
        }
        EXPECT_EQ(status, S_OK);
      }
    });
  }
  for (auto deadline = std::chrono::steady_clock::now() + 5s;
       gHost->QueryCount() < 20 && std::chrono::steady_clock::now() < deadline;) {
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_EQ(component_.As<IShutdown>()->Shutdown(), S_OK);
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(refused, 2);
  const size_t queries = gHost->QueryCount();
  EXPECT_EQ(Prepare("t"), E_SHUTTING_DOWN);
  EXPECT_EQ(gHost->QueryCount(), queries);
}

// A request whose conditions nest `nots` NOT operators over one comparison:
// Query > ConditionsRoot > Condition x nots > ConditionValues, so its depth
// is nots + 3.
VXNodePtr NestedNots(uint32_t nots) {
  VXNodePtr query = VXNodePtr::Create(u"Query");
  query.SetString(u"Query_Template_Name", u"deep");
  VXNodePtr parent = VXNodePtr::Create(u"ConditionsRoot", u"Conditions");
  query.AddChild(parent);
  for (uint32_t i = 0; i < nots; ++i) {
    VXNodePtr condition = VXNodePtr::Create(u"Condition");
    condition.SetString(u"operator", u"NOT");
    parent.AddChild(condition);
    parent = condition;
  }
  VXNodePtr leaf = VXNodePtr::Create(u"ConditionValues");
  leaf.SetString(u"Columnn", u"Who");
  leaf.SetString(u"Value", u"x");
  parent.AddChild(leaf);
  return query;
}

size_t Occurrences(std::u16string_view text, std::u16string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::u16string_view::npos;
       at = text.find(what, at + what.size()))
    ++count;
  return count;
}

TEST_F(ScriptwrightTest, RequestsDeeperThanTheLimitAreRefusedBeforeAnyProcessor) {
  // Who is a complex column, so the engine's own walk goes all the way down
  // too, and the conditions processor recurses once per level.
  VXNodePtr catalog =
      Node(R"x(<catalog queries_processor="Test.Executor" complex_condition_names='str[]:["Who"]'>
      <_ _name="%CONDITION%" ExcludeColumnBracket='str[]:[]'/>
      <query_template _name="deep">
        <sql_command _name="c" command="SELECT 1 WHERE %CONDITION%" variables='str[]:["%CONDITION%"]'/>
      </query_template></catalog>)x");
  ASSERT_EQ(component_->Configure(catalog), S_OK);
  auto& capture = LogCapture::Instance();

  // At the limit: prepared, with the log's dump of the request on.
  const uint32_t atLimit = kMaxTreeDepth - 3;
  VXNodePtr deepest = NestedNots(atLimit);
  ASSERT_FALSE(TreeDeeperThan(deepest.get(), kMaxTreeDepth));
  SetMaxSeverity(Severity::DBG);
  const HRESULT status = component_.As<IQueryProcessor>()->ProcessQuery(deepest);
  SetMaxSeverity(Severity::ERR);
  ASSERT_EQ(status, S_OK);
  ASSERT_EQ(gHost->QueryCount(), 1u);
  const std::u16string sql = deepest.ChildAt(1).GetString(u"SQL_Command");
  EXPECT_EQ(Occurrences(sql, u" ( NOT"), atLimit);
  EXPECT_NE(sql.find(u" ([Who] = N'x') "), std::u16string::npos);

  // One level more, and the shape of the reproducer (15,000 NOTs): refused
  // with the data status, before the log's dump, the engine and the executor.
  for (const uint32_t nots : {atLimit + 1, 15000u}) {
    VXNodePtr tooDeep = NestedNots(nots);
    capture.Take();
    SetMaxSeverity(Severity::DBG);
    const HRESULT refused = component_.As<IQueryProcessor>()->ProcessQuery(tooDeep);
    SetMaxSeverity(Severity::ERR);
    EXPECT_EQ(refused, E_INVALID_DATA);
    const auto info = GetErrorInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->description, u"The data is invalid: the request is deeper than 1000 levels");
    const auto lines = capture.Take();
    EXPECT_FALSE(AnyLineHas(lines, u"Query:"));
    EXPECT_TRUE(AnyLineHas(lines, u"CScriptwright::ProcessQuery failed: 0x8007000D"));
    EXPECT_EQ(tooDeep.ChildCount(), 1u);  // no Command
    EXPECT_FALSE(tooDeep.HasAttribute(u"CurrentCommand"));
  }
  EXPECT_EQ(gHost->QueryCount(), 1u);

  VXNodePtr deepCookie = NestedNots(atLimit + 1);
  deepCookie.SetType(u"Cookie");
  EXPECT_EQ(component_.As<IQueryProcessor>()->CancelQuery(deepCookie), E_INVALID_DATA);
  EXPECT_EQ(gHost->cancels, 0);
}

}  // namespace
}  // namespace QueriesProcessing
