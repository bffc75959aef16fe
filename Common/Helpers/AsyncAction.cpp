#include "Common/Helpers/AsyncAction.h"

#include <condition_variable>
#include <future>
#include <mutex>

#include "Common/LogScope.h"

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point After(Clock::time_point start, CAsyncAction::Duration delay) {
  // A delay past what the clock can hold means "never".
  if (delay >= Clock::time_point::max() - start) return Clock::time_point::max();
  return start + delay;
}

}  // namespace

struct CAsyncAction::State {
  State(Duration interval, std::function<void()> work)
      : interval(interval), work(std::move(work)) {}

  // Waits until stopped, triggered or `deadline`; a max deadline waits for good.
  void WaitUntil(std::unique_lock<std::mutex>& guard, Clock::time_point deadline);
  // After a run: waits until stopped, triggered, or the interval counted from
  // the end of the run has passed.
  void WaitForNextRun(std::unique_lock<std::mutex>& guard);

  mutable std::mutex lock;
  std::condition_variable wake;
  Duration interval;                    // guarded by lock
  Clock::time_point lastFinished;       // guarded by lock
  bool triggered = false;               // guarded by lock
  bool stopped = false;                 // guarded by lock
  uint64_t startedCount = 0;            // guarded by lock
  uint64_t finishedCount = 0;           // guarded by lock
  std::shared_future<void> currentRun;  // guarded by lock
  const std::function<void()> work;
};

CAsyncAction::CAsyncAction(Duration interval, Duration firstDelay, std::function<void()> work)
    : state_(std::make_shared<State>(interval, std::move(work))),
      thread_([state = state_, firstDelay] { Run(*state, firstDelay); }) {}

CAsyncAction::CAsyncAction(Duration interval, std::function<void()> work)
    : CAsyncAction(interval, interval, std::move(work)) {}

CAsyncAction::~CAsyncAction() {
  Stop();
  if (!thread_.joinable()) return;
  // The work dropped the last owner of this action: the thread cannot wait
  // for itself. It holds its own share of the state and sees the stop.
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void CAsyncAction::SetInterval(Duration interval) {
  std::lock_guard guard(state_->lock);
  if (interval == state_->interval) return;
  state_->interval = interval;
  state_->wake.notify_all();
}

void CAsyncAction::Trigger() {
  std::lock_guard guard(state_->lock);
  state_->triggered = true;
  state_->wake.notify_all();
}

void CAsyncAction::Stop() {
  std::lock_guard guard(state_->lock);
  state_->stopped = true;
  state_->wake.notify_all();
}

bool CAsyncAction::IsStopped() const {
  std::lock_guard guard(state_->lock);
  return state_->stopped;
}

uint64_t CAsyncAction::StartedCount() const {
  std::lock_guard guard(state_->lock);
  return state_->startedCount;
}

uint64_t CAsyncAction::FinishedCount() const {
  std::lock_guard guard(state_->lock);
  return state_->finishedCount;
}

void CAsyncAction::State::WaitUntil(std::unique_lock<std::mutex>& guard,
                                    Clock::time_point deadline) {
  const auto done = [this] { return stopped || triggered; };
  if (deadline == Clock::time_point::max()) {
    wake.wait(guard, done);
  } else {
    wake.wait_until(guard, deadline, done);
  }
}

void CAsyncAction::State::WaitForNextRun(std::unique_lock<std::mutex>& guard) {
  // The deadline is computed afresh after every wake, so that a new interval
  // counts from the end of the last run.
  for (;;) {
    if (stopped || triggered) return;
    const Clock::time_point deadline =
        interval == Duration::zero() ? Clock::time_point::max() : After(lastFinished, interval);
    if (deadline != Clock::time_point::max() && Clock::now() >= deadline) return;
    const Duration seen = interval;
    const auto woken = [&] { return stopped || triggered || interval != seen; };
    if (deadline == Clock::time_point::max()) {
      wake.wait(guard, woken);
    } else {
      wake.wait_until(guard, deadline, woken);
    }
  }
}

// Touches only `state`: the action itself may be gone once a run returns.
void CAsyncAction::Run(State& state, Duration firstDelay) {
  VX_LOG_SCOPE(Severity::DBG, "AsyncAction thread");
  std::unique_lock guard(state.lock);
  state.WaitUntil(guard, After(Clock::now(), firstDelay));
  while (!state.stopped) {
    state.triggered = false;
    std::packaged_task<void()> task(state.work);
    std::shared_future<void> run = task.get_future().share();
    state.currentRun = run;
    ++state.startedCount;
    guard.unlock();
    VX_LOG(Severity::DBG2, u"Executing AsyncAction");
    task();
    try {
      run.get();
    } catch (...) {
      // The work's failure is its own business; the next run comes as planned.
    }
    guard.lock();
    ++state.finishedCount;
    state.lastFinished = Clock::now();
    state.WaitForNextRun(guard);
  }
}
