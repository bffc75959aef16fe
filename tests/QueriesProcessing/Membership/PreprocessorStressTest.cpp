#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/QueriesProcessing/Membership/PreprocessorTestSupport.h"

namespace QueriesProcessing {
namespace {

using namespace std::chrono_literals;

// Request threads query, keep alive and cancel their sessions through the
// preprocessor while its retention routine drops idle sessions every second
// and the database settings keep changing: new managers replace old ones
// under running requests, and the storage is now and then disabled, which
// makes requests wait. Then Shutdown, and the component goes: the database
// holds no session table. Sized to take a few seconds, also under
// ThreadSanitizer; every wait is bounded, Shutdown being the way out.
TEST(MembershipStressTest, PreprocessorSessionsLiveAndDieWhileSettingsChange) {
  constexpr uint32_t kWorkers = 4;
  constexpr uint32_t kQueriesPerWorker = 60;  // at least; more until kRunTime has passed
  constexpr auto kRunTime = 3s;                // three runs of the retention routine
  constexpr uint32_t kSessionsPerWorker = 6;
  MembershipWorld world;
  for (const char16_t* group : {u"g0", u"g1", u"g2"}) {
    std::vector<std::u16string> members;
    for (int m = 0; m < 20; ++m) members.push_back(u"CORP\\" + std::u16string(group) + u"o'" + ToText(m));
    world.directory->SetGroup(group, members);
  }
  const VXNodePtr config = PreprocessorConfig();
  const VXNodePtr tables = config.GetChild(u"MembershipTablesManager");
  tables.SetInt32(u"RetentionRoutineIntervalSec", 1);
  tables.SetInt32(u"SessionLifeTimeSec", 0);
  auto component = MembershipWorld::Create(CGroupMembershipPreprocessor::kClassId);
  ASSERT_EQ(component->Configure(config), S_OK);
  auto processor = component.As<IQueryProcessor>();
  auto notifications = component.As<IResultNotification>();

  std::mutex statusesLock;
  std::map<HRESULT, int> statuses;
  std::atomic<uint32_t> finished{0};
  std::vector<std::thread> workers;
  const auto end = std::chrono::steady_clock::now() + kRunTime;
  for (uint32_t w = 0; w < kWorkers; ++w) {
    workers.emplace_back([&, w] {
      for (uint32_t i = 0; i < kQueriesPerWorker || std::chrono::steady_clock::now() < end; ++i) {
        const uint32_t session = w * 100 + i % kSessionsPerWorker;
        const HRESULT status = processor->ProcessQuery(
            MembershipQuery(session, {i % 2 ? u"g1" : u"g0"}, {u"g2"}));
        notifications->NotifyGetResult(SessionRequest(u"Cookie", u"Cookie", session));
        if (i % 5 == 4) processor->CancelQuery(SessionRequest(u"Cookie", u"SessionId", session));
        std::lock_guard guard(statusesLock);
        ++statuses[status];
      }
      ++finished;
    });
  }
  std::atomic<bool> stop{false};
  std::thread changes([&] {
    for (int32_t round = 0; !stop; ++round) {
      // Another time-out is other settings: a new manager. One round in
      // four disables the storage for a moment.
      world.settings->Set(DbSettings(round % 4 != 3, 5000 + round % 2));
      world.settings->Notify();
      std::this_thread::sleep_for(round % 4 == 3 ? 20ms : 100ms);
    }
    world.settings->Set(DbSettings(true));
    world.settings->Notify();
  });

  EXPECT_TRUE(WaitFor([&] { return finished == kWorkers; }, 45s));
  stop = true;
  changes.join();
  EXPECT_EQ(component.As<IShutdown>()->Shutdown(), S_OK);  // releases any waiter left
  for (auto& worker : workers) worker.join();

  // Requests of a session that a new manager does not know yet while the
  // database still does (an old manager stored it after the new one's
  // start) fail in the database; nothing else may fail.
  for (const auto& [status, count] : statuses) {
    EXPECT_TRUE(status == S_OK || status == E_FAIL) << std::hex << status << " x" << count;
  }
  EXPECT_GT(statuses[S_OK], static_cast<int>(kWorkers * kQueriesPerWorker / 2));

  world.settings->Clear();
  processor = CompPtr<IQueryProcessor>();
  notifications = CompPtr<IResultNotification>();
  component = CompPtr<IConfigurable>();
  EXPECT_TRUE(SessionTables(world.storage).empty());
  EXPECT_TRUE(RecordedSessions(world.storage).empty());
}

}  // namespace
}  // namespace QueriesProcessing
