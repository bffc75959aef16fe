#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <string>

#include "QueriesProcessing/Membership/GroupMembershipPreprocessorActivator.h"
#include "tests/Common/LogCapture.h"
#include "tests/QueriesProcessing/Membership/PreprocessorTestSupport.h"

namespace QueriesProcessing {
namespace {

using namespace std::chrono_literals;

// A preprocessor of the world, made through the module object and
// configured; shut down at the end.
class Preprocessor {
 public:
  Preprocessor(MembershipWorld& world, const VXNodePtr& config)
      : world_(world),
        component_(MembershipWorld::Create(CGroupMembershipPreprocessor::kClassId)),
        status(component_->Configure(config)) {}
  ~Preprocessor() {
    if (component_) Shutdown();
  }

  HRESULT Process(const VXNodePtr& query) const {
    return component_.As<IQueryProcessor>()->ProcessQuery(query);
  }
  HRESULT Cancel(const VXNodePtr& request) const {
    return component_.As<IQueryProcessor>()->CancelQuery(request);
  }
  HRESULT Notify(const VXNodePtr& request) const {
    return component_.As<IResultNotification>()->NotifyGetResult(request);
  }
  HRESULT Shutdown() const { return component_.As<IShutdown>()->Shutdown(); }
  // Shuts down and lets go of every reference, the settings service's too:
  // the component goes, and its tables manager with it.
  void Release() {
    Shutdown();
    component_ = CompPtr<IConfigurable>();
    world_.settings->Clear();
  }
  IConfigurable& component() const { return *component_.get(); }

 private:
  MembershipWorld& world_;
  CompPtr<IConfigurable> component_;

 public:
  const HRESULT status;
};

// The warnings of failed builds of the tables manager, counted from the log.
class BuildWarnings {
 public:
  BuildWarnings() {
    SetMaxSeverity(Severity::WARN);
    LogCapture::Instance().Take();
  }
  ~BuildWarnings() { SetMaxSeverity(Severity::ERR); }
  int Count() {
    for (const std::string& line : LogCapture::Instance().Take()) {
      if (line.find("Tables manager initialization failed due to 0x80047F01") != std::string::npos)
        ++count_;
    }
    return count_;
  }

 private:
  int count_ = 0;
};

MemberSet Stored(const MembershipWorld& world, const VXNodePtr& query, bool exclusive) {
  return StoredMembers(world.storage,
                       query.GetString(exclusive ? u"GroupMembershipWhoNotInGroupTable"
                                                 : u"GroupMembershipWhoInGroupTable"),
                       exclusive ? u"NotInGroupAccount" : u"InGroupAccount");
}

std::optional<uint64_t> LimitOf(const VXNodePtr& query) {
  uint32_t type = VXN_UINT64;
  if (!query.HasAttribute(u"LimitCountMembers")) return std::nullopt;
  const std::vector<uint8_t> raw = query.GetRaw(u"LimitCountMembers", type);
  uint64_t value = 0;
  std::memcpy(&value, raw.data(), sizeof(value));
  return value;
}

TEST(GroupMembershipPreprocessorTest, AQueryGetsTheTablesOfItsSessionResolvedOnceUntilCancel) {
  MembershipWorld world;
  world.directory->SetGroup(u"g1", {u"CORP\\alice", u"CORP\\o'brien"});
  world.directory->SetGroup(u"g2", {u"CORP\\alice", u"CORP\\mallory"});
  world.directory->notReady = 1;
  Preprocessor preprocessor(world, PreprocessorConfig());
  ASSERT_EQ(preprocessor.status, S_OK);

  // Requests without SessionId or Conditions, and a directory that refuses:
  // the bad-requests and directory-refuses golden cases.
  struct Case {
    const char* what;
    VXNodePtr query;
    int lookups;  // directory lookups this query makes
    MemberSet in, out;
  } cases[] = {
      {"first query of a session", MembershipQuery(1, {u"g1"}, {u"g2"}), 2,
       {u"CORP\\alice", u"CORP\\o'brien"}, {u"CORP\\alice", u"CORP\\mallory"}},
      {"the session's next query, other groups", MembershipQuery(1, {u"g2"}), 0,
       {u"CORP\\alice", u"CORP\\o'brien"}, {u"CORP\\alice", u"CORP\\mallory"}},
      {"an unknown group", MembershipQuery(2, {u"nobody"}), 1, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const int before = world.directory->Lookups();
    ASSERT_EQ(preprocessor.Process(c.query), S_OK);
    EXPECT_EQ(world.directory->Lookups() - before, c.lookups);
    EXPECT_EQ(Stored(world, c.query, false), c.in);
    EXPECT_EQ(Stored(world, c.query, true), c.out);
    EXPECT_FALSE(c.query.GetBool(u"IncompleteMembers"));
    EXPECT_FALSE(LimitOf(c.query));
  }
  EXPECT_EQ(RecordedSessions(world.storage), (std::set<GUID>{SessionId(1), SessionId(2)}));

  // Notify needs no session; cancel drops one.
  struct Request {
    const char* what;
    bool cancel;
    VXNodePtr request;
    HRESULT status;
  } requests[] = {
      {"notify by Cookie", false, SessionRequest(u"Cookie", u"Cookie", 1), S_OK},
      {"notify without a session", false, SessionRequest(u"Cookie", u"", 0), S_OK},
      {"notify of an unknown session", false, SessionRequest(u"Cookie", u"SessionId", 9), S_OK},
      {"cancel of an unknown session", true, SessionRequest(u"Cookie", u"SessionId", 9), S_OK},
      {"cancel", true, SessionRequest(u"Cookie", u"SessionId", 1), S_OK},
      {"null", true, VXNodePtr(), E_INVALIDARG},
      {"null", false, VXNodePtr(), E_INVALIDARG},
  };
  for (const Request& c : requests) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.cancel ? preprocessor.Cancel(c.request) : preprocessor.Notify(c.request),
              c.status);
  }
  EXPECT_EQ(RecordedSessions(world.storage), std::set<GUID>{SessionId(2)});
  EXPECT_EQ(SessionTables(world.storage), TablesOf(SessionId(2)));

  preprocessor.Release();
  EXPECT_TRUE(SessionTables(world.storage).empty());
  EXPECT_TRUE(RecordedSessions(world.storage).empty());
}

TEST(GroupMembershipPreprocessorTest, AGroupCutAtTheLimitMakesTheMembersIncomplete) {
  MembershipWorld world;
  world.directory->SetGroup(u"solo", {u"CORP\\alice"});
  world.directory->SetGroup(u"pair", {u"CORP\\alice", u"CORP\\bob"});
  Preprocessor preprocessor(world, PreprocessorConfig(1));
  ASSERT_EQ(preprocessor.status, S_OK);
  struct Case {
    uint32_t session;
    std::u16string group;
    bool incomplete;  // reaching the limit counts: the directory cuts there
  } cases[] = {{1, u"solo", true}, {2, u"pair", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.group));
    const VXNodePtr query = MembershipQuery(c.session, {c.group});
    ASSERT_EQ(preprocessor.Process(query), S_OK);
    EXPECT_EQ(query.GetBool(u"IncompleteMembers"), c.incomplete);
    EXPECT_EQ(LimitOf(query), 1u);
    // The session's next query takes the flag from the session.
    const VXNodePtr next = MembershipQuery(c.session, {u"other"});
    ASSERT_EQ(preprocessor.Process(next), S_OK);
    EXPECT_EQ(next.GetBool(u"IncompleteMembers"), c.incomplete);
  }
}

TEST(GroupMembershipPreprocessorTest, QueriesWaitWhileTheStorageIsDisabledUntilShutdown) {
  MembershipWorld world;
  world.settings->Set(DbSettings(false));
  BuildWarnings warnings;
  Preprocessor preprocessor(world, PreprocessorConfig());
  ASSERT_EQ(preprocessor.status, S_OK);
  auto waiting = std::async(std::launch::async,
                            [&] { return preprocessor.Process(MembershipQuery(1, {u"g1"})); });
  // Every attempt fails and says so; the query waits through them.
  EXPECT_TRUE(WaitFor([&] { return warnings.Count() >= 2; }));
  EXPECT_EQ(waiting.wait_for(0s), std::future_status::timeout);
  EXPECT_EQ(preprocessor.Cancel(SessionRequest(u"Cookie", u"SessionId", 1)), S_OK);

  EXPECT_EQ(preprocessor.Shutdown(), S_OK);
  ASSERT_EQ(waiting.wait_for(10s), std::future_status::ready);
  EXPECT_EQ(waiting.get(), E_SHUTTING_DOWN);
  EXPECT_EQ(preprocessor.Process(MembershipQuery(2, {u"g1"})), E_SHUTTING_DOWN);
  EXPECT_EQ(preprocessor.component().Configure(PreprocessorConfig()), E_SHUTTING_DOWN);
}

TEST(GroupMembershipPreprocessorTest, ChangedSettingsBuildANewManagerAndEqualOnesChangeNothing) {
  MembershipWorld world;
  world.directory->SetGroup(u"g1", {u"CORP\\alice"});
  Preprocessor preprocessor(world, PreprocessorConfig());
  const auto process = [&] { return preprocessor.Process(MembershipQuery(1, {u"g1"})); };
  ASSERT_EQ(process(), S_OK);
  ASSERT_EQ(world.directory->Lookups(), 1);

  // Equal settings: the same manager, which knows the session.
  world.settings->Notify();
  ASSERT_EQ(process(), S_OK);
  EXPECT_EQ(world.directory->Lookups(), 1);

  // Other settings: a new manager, whose start drops the sessions of the
  // old one, so that the session is resolved again.
  world.settings->Set(DbSettings(true, 4000));
  world.settings->Notify();
  EXPECT_TRUE(WaitFor([&] { return SessionTables(world.storage).empty(); }));
  ASSERT_EQ(process(), S_OK);
  EXPECT_EQ(world.directory->Lookups(), 2);

  // Disabled and enabled again: the settings-enabled golden case.
  preprocessor.Release();
  EXPECT_TRUE(SessionTables(world.storage).empty());
}

TEST(GroupMembershipPreprocessorTest, AFailedConfigureShutsTheComponentDown) {
  MembershipWorld world;
  const auto without = [](std::u16string_view name) {
    const VXNodePtr config = PreprocessorConfig();
    if (const VXNodePtr child = config.GetChild(name)) {
      config.RemoveChild(child);
    } else {
      config.DeleteAttribute(name);
    }
    return config;
  };
  const VXNodePtr negative = PreprocessorConfig();
  negative.SetInt32(u"InitializeRetryIntervalSec", -1);
  const VXNodePtr unknownService = PreprocessorConfig();
  unknownService.SetString(u"DSMInstName", u"No.Such.Service");
  struct Case {
    const char* what;
    VXNodePtr config;
    HRESULT status;
  } cases[] = {
      {"null", VXNodePtr(), E_INVALIDARG},
      {"no such service", unknownService, E_NOTFOUND},
      {"negative retry", negative, E_INVALIDARG},
      {"no GroupMembershipResolver", without(u"GroupMembershipResolver"), E_NOTFOUND},
      {"no MembershipAttrName", without(u"MembershipAttrName"), E_NOTFOUND},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Preprocessor preprocessor(world, c.config);
    EXPECT_EQ(preprocessor.status, c.status);
    EXPECT_EQ(preprocessor.Process(MembershipQuery(1, {u"g1"})), E_SHUTTING_DOWN);
  }
  Preprocessor configured(world, PreprocessorConfig());
  ASSERT_EQ(configured.status, S_OK);
  EXPECT_EQ(configured.component().Configure(PreprocessorConfig()), E_INVALID_STATE);
  EXPECT_EQ(configured.Process(MembershipQuery(1, {u"g1"})), S_OK);
}

TEST(GroupMembershipPreprocessorActivatorTest, BringsItsTargetUpUntilTheHostGivesIt) {
  MembershipWorld world;
  std::atomic<int> asked{0};
  world.extra = [&](std::u16string_view name, const GUID& iid, void** out) {
    if (name != u"Test.Target") return E_NOTFOUND;
    // The first request fails, as when the target cannot be configured yet.
    if (++asked == 1) return E_FAIL;
    return world.storage->QueryInterface(iid, out);
  };
  const auto make = [](const char* config) {
    CompPtr<IConfigurable> activator =
        MembershipWorld::Create(CGroupMembershipPreprocessorActivator::kClassId);
    return std::pair{activator, activator->Configure(Testing::Parse(config))};
  };
  for (const auto& [config, status] :
       {std::pair{R"(<_ TargetComponent="Test.Target"/>)", E_NOTFOUND},
        std::pair{R"(<_ InitializeRetrySec="i32:-1" TargetComponent="Test.Target"/>)",
                  E_INVALIDARG}}) {
    EXPECT_EQ(make(config).second, status) << config;
  }
  const auto [activator, status] = make(R"(<_ InitializeRetrySec="i32:1" TargetComponent="Test.Target"/>)");
  ASSERT_EQ(status, S_OK);
  EXPECT_EQ(activator->Configure(Testing::Parse("<_/>")), E_INVALID_STATE);
  EXPECT_TRUE(WaitFor([&] { return asked >= 2; }));
  EXPECT_EQ(activator.As<IShutdown>()->Shutdown(), S_OK);
}

}  // namespace
}  // namespace QueriesProcessing
