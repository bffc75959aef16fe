#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

#include "Common/Helpers/AsyncAction.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Polls `done` until it holds or five seconds pass.
template <typename Predicate>
bool WaitFor(Predicate done) {
  const auto deadline = Clock::now() + 5s;
  while (!done()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST(AsyncActionTest, ZeroIntervalAndNoDelayRunsOnce) {
  std::atomic<int> runs{0};
  CAsyncAction action(0s, 0s, [&] { ++runs; });
  ASSERT_TRUE(WaitFor([&] { return action.FinishedCount() == 1; }));
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(runs, 1);
  action.SetInterval(5ms);  // a new interval wakes the sleeping action
  ASSERT_TRUE(WaitFor([&] { return runs >= 3; }));
}

// The two-argument form waits one interval before its first run; the
// destructor stops a waiting action at once (a hang fails by the test's
// timeout).
TEST(AsyncActionTest, TwoArgumentFormWaitsOneIntervalFirst) {
  std::atomic<int> runs{0};
  {
    CAsyncAction action(std::chrono::hours(1), [&] { ++runs; });
    std::this_thread::sleep_for(20ms);  // room for a run that must not come
    EXPECT_EQ(action.StartedCount(), 0u);
  }
  EXPECT_EQ(runs, 0);
}

TEST(AsyncActionTest, RetryUntilTheWorkSucceedsThenSleepUntilTriggered) {
  std::atomic<int> attempts{0};
  CAsyncAction* self = nullptr;
  CAsyncAction action(2ms, 0s, [&] {
    if (++attempts < 3) throw std::runtime_error("not yet");  // a failure is retried
    self->SetInterval(0s);
  });
  self = &action;
  ASSERT_TRUE(WaitFor([&] { return action.FinishedCount() == 3; }));
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(attempts, 3);
  action.Trigger();
  ASSERT_TRUE(WaitFor([&] { return attempts == 4; }));
}

TEST(AsyncActionTest, WaitForTriggerAndStopDuringARun) {
  std::atomic<bool> release{false};
  std::atomic<int> runs{0};
  CAsyncAction action(1ms, CAsyncAction::kWaitForTrigger, [&] {
    ++runs;
    while (!release) std::this_thread::sleep_for(1ms);
  });
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(action.StartedCount(), 0u);
  action.Trigger();
  ASSERT_TRUE(WaitFor([&] { return action.StartedCount() == 1; }));
  action.Stop();  // does not wait for the run
  EXPECT_TRUE(action.IsStopped());
  release = true;
  ASSERT_TRUE(WaitFor([&] { return action.FinishedCount() == 1; }));
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(runs, 1);
}

// The work lets go of the last owner of the object that holds the action, so
// the action is destroyed on its own thread: it stops instead of joining
// itself, and the work never runs again.
TEST(AsyncActionTest, TheWorkMayDestroyItsOwnAction) {
  struct Owner {
    std::unique_ptr<CAsyncAction> action;
    std::atomic<bool>* destroyedOnWorker;
    std::thread::id caller;
    ~Owner() {
      action.reset();
      *destroyedOnWorker = std::this_thread::get_id() != caller;
    }
  };
  std::atomic<bool> destroyedOnWorker{false};
  std::atomic<int> runs{0};
  std::atomic<bool> handedOver{false};
  std::shared_ptr<Owner> last;  // the work's alone once handedOver is set
  auto owner = std::make_shared<Owner>();
  owner->destroyedOnWorker = &destroyedOnWorker;
  owner->caller = std::this_thread::get_id();
  owner->action = std::make_unique<CAsyncAction>(1ms, 0s, [&] {
    ++runs;
    if (handedOver.exchange(false)) last.reset();
  });
  ASSERT_TRUE(WaitFor([&] { return runs >= 2; }));
  last = std::move(owner);
  handedOver = true;
  ASSERT_TRUE(WaitFor([&] { return destroyedOnWorker.load(); }));
  const int runsAtDestruction = runs;
  std::this_thread::sleep_for(30ms);  // room for a run that must not come
  EXPECT_EQ(runs, runsAtDestruction);
}

}  // namespace
