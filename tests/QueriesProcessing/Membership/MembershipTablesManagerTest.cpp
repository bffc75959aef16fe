#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "tests/QueriesProcessing/Membership/MembershipTestSupport.h"

namespace QueriesProcessing {
namespace {

using namespace std::chrono_literals;

// A manager over the SQLite catalogue, with `change` applied to its
// configuration first.
std::unique_ptr<CMembershipTablesManager> MakeManager(
    const CompPtr<IVXSQLStorage>& storage, std::shared_ptr<FakeClock> clock,
    const std::function<void(const VXNodePtr&)>& change = nullptr) {
  const VXNodePtr config = SqliteMembershipConfig();
  if (change) change(config);
  return std::make_unique<CMembershipTablesManager>(storage, config, std::move(clock));
}

// The code of the HRX that `action` raises; nothing raised gives 0.
HRESULT RaisedBy(const std::function<void()>& action) {
  try {
    action();
  } catch (const HRX& failure) {
    return failure.code();
  }
  return S_OK;
}

class MembershipTablesManagerTest : public ::testing::Test {
 protected:
  CompPtr<IVXSQLStorage> storage_ = OpenStorage(u":memory:");
  std::shared_ptr<FakeClock> clock_ = std::make_shared<FakeClock>();
};

TEST_F(MembershipTablesManagerTest, AStoreMakesBothTablesHoldingEveryMember) {
  const auto manager = MakeManager(storage_, clock_);
  // NULs and long names: the odd-names golden case.
  const SessionMembers members{
      {u"CORP\\o'brien", u"''", u"a'); DROP TABLE MembershipSessions; --", u"[x]]"},
      {u"CORP\\mallory"},
      true};
  const GUID id = SessionId(1);
  manager->StoreSessionMembership(id, members);

  EXPECT_EQ(SessionTables(storage_), TablesOf(id));
  EXPECT_EQ(StoredMembers(storage_, manager->GetSessionTableName(id, false), u"InGroupAccount"),
            members.inclusiveMembers);
  EXPECT_EQ(StoredMembers(storage_, manager->GetSessionTableName(id, true), u"NotInGroupAccount"),
            members.exclusiveMembers);
  EXPECT_EQ(RecordedSessions(storage_), std::set<GUID>{id});

  SessionRecord record;
  ASSERT_TRUE(manager->CheckSessionExistence(id, record));
  EXPECT_TRUE(record.incomplete);
  EXPECT_FALSE(manager->CheckSessionExistence(SessionId(2), record));

  // No members: both tables all the same, empty.
  manager->StoreSessionMembership(SessionId(2), {});
  EXPECT_EQ(SessionTables(storage_).size(), 4u);
  ASSERT_TRUE(manager->CheckSessionExistence(SessionId(2), record));
  EXPECT_FALSE(record.incomplete);
}

TEST_F(MembershipTablesManagerTest, ReleaseAndDestructionDropSessionsAndUnknownIdsTouchNothing) {
  ProxyStorage* proxy = nullptr;
  const auto storage = ProxyStorage::Make(storage_, proxy);
  auto manager = MakeManager(storage, clock_);
  manager->StoreSessionMembership(SessionId(1), {{u"a"}, {u"b"}, false});
  manager->StoreSessionMembership(SessionId(2), {{u"c"}, {}, false});

  manager->ReleaseMembershipSession(SessionId(1));
  EXPECT_EQ(SessionTables(storage_), TablesOf(SessionId(2)));
  EXPECT_EQ(RecordedSessions(storage_), std::set<GUID>{SessionId(2)});
  SessionRecord record;
  EXPECT_FALSE(manager->CheckSessionExistence(SessionId(1), record));

  const size_t batches = proxy->BatchCount();
  manager->ReleaseMembershipSession(SessionId(1));  // released already
  manager->ReleaseMembershipSession(SessionId(9));  // never stored
  EXPECT_EQ(proxy->BatchCount(), batches);

  // A drop that fails leaves the session known, for a later try.
  proxy->mode = ProxyStorage::Mode::kRefuse;
  EXPECT_EQ(RaisedBy([&] { manager->ReleaseMembershipSession(SessionId(2)); }), E_FAIL);
  proxy->mode = ProxyStorage::Mode::kPass;
  EXPECT_TRUE(manager->CheckSessionExistence(SessionId(2), record));
  manager->ReleaseMembershipSession(SessionId(2));
  EXPECT_TRUE(SessionTables(storage_).empty());
  EXPECT_TRUE(RecordedSessions(storage_).empty());

  // The manager drops whatever is left when it goes.
  for (uint32_t i = 3; i <= 5; ++i)
    manager->StoreSessionMembership(SessionId(i), {{u"a"}, {u"b"}, false});
  ASSERT_EQ(SessionTables(storage_).size(), 6u);
  manager.reset();
  EXPECT_TRUE(SessionTables(storage_).empty());
  EXPECT_TRUE(RecordedSessions(storage_).empty());
}

TEST_F(MembershipTablesManagerTest, RetentionDropsSessionsIdleLongerThanTheirLifeInWholeSeconds) {
  constexpr int64_t kSecond = ISessionClock::kTicksPerSecond;
  struct Case {
    int32_t lifeSec;
    int64_t idleTicks;
    bool dropped;
  };
  const Case cases[] = {
      {10, 10 * kSecond, false},      // exactly at its life
      {10, 11 * kSecond - 1, false},  // 10.9999999 s is 10 whole seconds
      {10, 11 * kSecond, true},
      {0, kSecond - 1, false},
      {0, kSecond, true},
  };
  uint32_t next = 1;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.lifeSec << " s, idle " << c.idleTicks);
    const auto manager = MakeManager(storage_, clock_, [&](const VXNodePtr& config) {
      config.SetInt32(u"SessionLifeTimeSec", c.lifeSec);
    });
    const GUID id = SessionId(next++);
    manager->StoreSessionMembership(id, {{u"a"}, {}, false});
    clock_->Advance(c.idleTicks);
    manager->RunRetention();
    EXPECT_EQ(SessionTables(storage_).empty(), c.dropped);
    EXPECT_EQ(RecordedSessions(storage_).empty(), c.dropped);
    SessionRecord record;
    EXPECT_EQ(manager->CheckSessionExistence(id, record), !c.dropped);
    manager->ReleaseMembershipSession(id);
  }
}

TEST_F(MembershipTablesManagerTest, TouchingASessionKeepsItFromRetention) {
  const auto manager = MakeManager(storage_, clock_);  // life 60 s
  for (uint32_t i = 1; i <= 3; ++i) manager->StoreSessionMembership(SessionId(i), {});
  clock_->AdvanceSeconds(50);
  SessionRecord record;
  manager->UpdateLastSessionAccess(SessionId(2));
  ASSERT_TRUE(manager->CheckSessionExistence(SessionId(3), record));
  manager->UpdateLastSessionAccess(SessionId(7));  // unknown: nothing happens
  clock_->AdvanceSeconds(11);
  manager->RunRetention();
  EXPECT_EQ(RecordedSessions(storage_), (std::set<GUID>{SessionId(2), SessionId(3)}));

  // The routine's own thread does the same when asked.
  clock_->AdvanceSeconds(61);
  manager->TriggerRetention();
  EXPECT_TRUE(WaitFor([&] { return SessionTables(storage_).empty(); }));
  EXPECT_TRUE(RecordedSessions(storage_).empty());
}

TEST_F(MembershipTablesManagerTest, AStartDropsTheSessionsOfAnEarlierRun) {
  TempDatabase file;
  {
    // The earlier run stores sessions and dies without dropping them: its
    // database is gone before its manager (a failure that is only logged).
    ProxyStorage* proxy = nullptr;
    const auto earlier = ProxyStorage::Make(OpenStorage(file.Name()), proxy);
    auto manager = MakeManager(earlier, clock_);
    for (uint32_t i = 1; i <= 3; ++i)
      manager->StoreSessionMembership(SessionId(i), {{u"a"}, {}, false});
    proxy->mode = ProxyStorage::Mode::kRefuse;
    manager.reset();
  }
  const auto storage = OpenStorage(file.Name());
  ASSERT_EQ(RecordedSessions(storage).size(), 3u);
  ASSERT_EQ(SessionTables(storage).size(), 6u);

  const auto manager = MakeManager(storage, clock_);
  SessionRecord record;
  EXPECT_FALSE(manager->CheckSessionExistence(SessionId(1), record));  // waits for the start
  EXPECT_TRUE(SessionTables(storage).empty());
  EXPECT_TRUE(RecordedSessions(storage).empty());
  // The same ids can be stored anew.
  manager->StoreSessionMembership(SessionId(1), {{u"a"}, {}, false});
  EXPECT_TRUE(manager->CheckSessionExistence(SessionId(1), record));
}

TEST_F(MembershipTablesManagerTest, AFailedStoreLeavesNoTableNoRecordAndNoSession) {
  ProxyStorage* proxy = nullptr;
  const auto storage = ProxyStorage::Make(storage_, proxy);
  const auto manager = MakeManager(
      storage, clock_, [](const VXNodePtr& config) { config.SetInt32(u"InsertBatchSize", 2); });
  const GUID id = SessionId(1);
  SessionMembers members{{u"a", u"b", u"c", u"d", u"e"}, {u"f"}, false};
  SessionRecord record;
  ASSERT_FALSE(manager->CheckSessionExistence(id, record));  // the start is over
  proxy->mode = ProxyStorage::Mode::kFailAtEnd;  // every statement of the batch ran first
  try {
    manager->StoreSessionMembership(id, members);
    ADD_FAILURE() << "the store succeeded";
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_FAIL);
    ASSERT_TRUE(failure.errorInfo());
    EXPECT_NE(ToUtf8(failure.errorInfo()->description).find("SQLite: no such function"),
              std::string::npos);
  }
  proxy->mode = ProxyStorage::Mode::kPass;
  EXPECT_TRUE(SessionTables(storage_).empty());
  EXPECT_TRUE(RecordedSessions(storage_).empty());
  EXPECT_FALSE(manager->CheckSessionExistence(id, record));

  manager->StoreSessionMembership(id, members);  // nothing half-made is in the way
  EXPECT_EQ(StoredMembers(storage_, manager->GetSessionTableName(id, false), u"InGroupAccount"),
            members.inclusiveMembers);
}

TEST_F(MembershipTablesManagerTest, TwoFirstStoresOfOneSessionLeaveOneWholeSession) {
  const auto manager = MakeManager(storage_, clock_);
  const GUID id = SessionId(1);
  std::atomic<int> failed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      if (RaisedBy([&] {
            manager->StoreSessionMembership(id, {{u"a", u"b"}, {}, false});
          }) != S_OK) {
        ++failed;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failed, 1);
  EXPECT_EQ(StoredMembers(storage_, manager->GetSessionTableName(id, false), u"InGroupAccount"),
            (MemberSet{u"a", u"b"}));
  SessionRecord record;
  EXPECT_TRUE(manager->CheckSessionExistence(id, record));
}

TEST_F(MembershipTablesManagerTest, AFailedStartIsRaisedByEveryOperationThatWaitsForIt) {
  struct Case {
    const char* what;
    std::function<void(const VXNodePtr&)> change;
    bool refuse;
    HRESULT expected;
  };
  const Case cases[] = {
      {"database gone", nullptr, true, E_FAIL},
      {"a session row without SessionId",
       [](const VXNodePtr& config) {
         config.SetString(u"SelectSessionsQuery", u"SELECT 1 AS Other");
       },
       false, E_NOTFOUND},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ProxyStorage* proxy = nullptr;
    const auto storage = ProxyStorage::Make(OpenStorage(u":memory:"), proxy);
    if (c.refuse) proxy->mode = ProxyStorage::Mode::kRefuse;
    const auto manager = MakeManager(storage, clock_, c.change);
    SessionRecord record;
    EXPECT_EQ(RaisedBy([&] { manager->CheckSessionExistence(SessionId(1), record); }), c.expected);
    EXPECT_EQ(RaisedBy([&] { manager->StoreSessionMembership(SessionId(1), {}); }), c.expected);
    EXPECT_EQ(RaisedBy([&] { manager->ReleaseMembershipSession(SessionId(1)); }), c.expected);
    EXPECT_EQ(RaisedBy([&] { manager->RunRetention(); }), c.expected);
    EXPECT_EQ(RaisedBy([&] { manager->UpdateLastSessionAccess(SessionId(1)); }), S_OK);
    EXPECT_FALSE(manager->GetSessionTableName(SessionId(1), false).empty());
  }
}

TEST_F(MembershipTablesManagerTest, ConfigurationIsCheckedAtConstruction) {
  for (const char16_t* name : {u"SessionIdAlias", u"InsertQueryTemplate",
                               u"DeleteSessionRecordsQueryTemplate", u"SessionLifeTimeSec"}) {
    SCOPED_TRACE(ToUtf8(name));
    EXPECT_EQ(RaisedBy([&] {
                MakeManager(storage_, clock_, [&](const VXNodePtr& c) { c.DeleteAttribute(name); });
              }),
              E_NOTFOUND);
  }
  struct Bad {
    const char16_t* name;
    std::optional<int32_t> number;
  };
  for (const Bad& bad : {Bad{u"SessionIdAlias", std::nullopt}, Bad{u"TableNameAlias", std::nullopt},
                         Bad{u"InclusiveAlias", std::nullopt}, Bad{u"InsertBatchSize", 0},
                         Bad{u"SessionLifeTimeSec", -1}, Bad{u"RetentionRoutineIntervalSec", -1}}) {
    SCOPED_TRACE(ToUtf8(bad.name));
    EXPECT_EQ(RaisedBy([&] {
                MakeManager(storage_, clock_, [&](const VXNodePtr& c) {
                  if (bad.number) {
                    c.SetInt32(bad.name, *bad.number);
                  } else {
                    c.SetString(bad.name, u"");
                  }
                });
              }),
              E_INVALIDARG);
  }
  EXPECT_EQ(RaisedBy([&] { CMembershipTablesManager{storage_, VXNodePtr(), clock_}; }), E_NOTFOUND);
  EXPECT_EQ(RaisedBy([&] {
              CMembershipTablesManager{CompPtr<IVXSQLStorage>(), SqliteMembershipConfig(), clock_};
            }),
            E_POINTER);
}

}  // namespace
}  // namespace QueriesProcessing
