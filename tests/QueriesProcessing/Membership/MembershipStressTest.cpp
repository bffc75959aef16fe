#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/QueriesProcessing/Membership/MembershipTestSupport.h"

namespace QueriesProcessing {
namespace {

using namespace std::chrono_literals;

// Several request threads store, check, touch and cancel sessions while the
// retention routine runs (on its own thread and on another, with a clock
// that races ahead) and the manager is replaced halfway, as a change of the
// database settings replaces it. At the end nothing is left in the database.
// Sized to take seconds, also under ThreadSanitizer; every wait is bounded.
TEST(MembershipStressTest, SessionsComeAndGoWhileRetentionRunsAndTheManagerIsReplaced) {
  constexpr uint32_t kWorkers = 4;
  constexpr uint32_t kSessionsPerWorker = 30;
  TempDatabase file;
  const auto storage = OpenStorage(file.Name());
  const auto clock = std::make_shared<FakeClock>();
  const auto make = [&] {
    return std::make_shared<CMembershipTablesManager>(storage, SqliteMembershipConfig(), clock);
  };
  std::mutex managerLock;
  std::shared_ptr<CMembershipTablesManager> current = make();
  const auto manager = [&] {
    std::lock_guard guard(managerLock);
    return current;
  };

  std::atomic<uint32_t> finished{0};
  std::atomic<bool> stop{false};
  std::vector<std::thread> workers;
  for (uint32_t w = 0; w < kWorkers; ++w) {
    workers.emplace_back([&, w] {
      for (uint32_t i = 0; i < kSessionsPerWorker; ++i) {
        const auto copy = manager();
        const GUID id = SessionId(w * 1000 + i);
        try {
          SessionRecord record;
          if (!copy->CheckSessionExistence(id, record)) {
            SessionMembers members;
            for (uint32_t m = 0; m < 20; ++m)
              members.inclusiveMembers.insert(u"in" + ToText(m + i));
            members.exclusiveMembers.insert(u"o'ut" + ToText(w));
            copy->StoreSessionMembership(id, members);
          }
          copy->UpdateLastSessionAccess(id);
          if (i > 0) copy->UpdateLastSessionAccess(SessionId(w * 1000 + i - 1));  // keep-alive
          copy->CheckSessionExistence(id, record);
          if (i % 3 == 0) copy->ReleaseMembershipSession(id);  // a cancel
        } catch (const HRX& failure) {
          ADD_FAILURE() << "worker " << w << " session " << i << ": "
                        << ToUtf8(FormatStatus(failure));
        }
        ++finished;
      }
    });
  }
  std::thread retention([&] {
    while (!stop) {
      clock->AdvanceSeconds(7);
      const auto copy = manager();
      copy->TriggerRetention();
      try {
        copy->RunRetention();
      } catch (const HRX& failure) {
        ADD_FAILURE() << "retention: " << ToUtf8(FormatStatus(failure));
      }
      std::this_thread::sleep_for(1ms);
    }
  });

  // Halfway, the settings change: a new manager takes over, and the old one
  // goes with its last copy, on whichever thread lets go of it.
  const auto deadline = std::chrono::steady_clock::now() + 30s;
  while (finished < kWorkers * kSessionsPerWorker / 2 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(1ms);
  }
  auto replacement = make();
  {
    std::lock_guard guard(managerLock);
    current.swap(replacement);
  }
  replacement.reset();

  for (auto& worker : workers) worker.join();
  stop = true;
  retention.join();
  EXPECT_EQ(finished, kWorkers * kSessionsPerWorker);
  {
    std::lock_guard guard(managerLock);
    current.reset();
  }
  EXPECT_TRUE(SessionTables(storage).empty());
  EXPECT_TRUE(RecordedSessions(storage).empty());
}

}  // namespace
}  // namespace QueriesProcessing
