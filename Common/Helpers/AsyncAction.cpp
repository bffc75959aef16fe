#include "Common/Helpers/AsyncAction.h"

#include "Common/LogScope.h"

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point After(Clock::time_point start, CAsyncAction::Duration delay) {
  // A delay past what the clock can hold means "never".
  if (delay >= Clock::time_point::max() - start) return Clock::time_point::max();
  return start + delay;
}

}  // namespace

CAsyncAction::CAsyncAction(Duration interval, Duration firstDelay, std::function<void()> work)
    : interval_(interval), work_(std::move(work)), thread_([this, firstDelay] { Run(firstDelay); }) {}

CAsyncAction::CAsyncAction(Duration interval, std::function<void()> work)
    : CAsyncAction(interval, interval, std::move(work)) {}

CAsyncAction::~CAsyncAction() {
  Stop();
  if (thread_.joinable()) thread_.join();
}

void CAsyncAction::SetInterval(Duration interval) {
  std::lock_guard guard(lock_);
  if (interval == interval_) return;
  interval_ = interval;
  wake_.notify_all();
}

void CAsyncAction::Trigger() {
  std::lock_guard guard(lock_);
  triggered_ = true;
  wake_.notify_all();
}

void CAsyncAction::Stop() {
  std::lock_guard guard(lock_);
  stopped_ = true;
  wake_.notify_all();
}

bool CAsyncAction::IsStopped() const {
  std::lock_guard guard(lock_);
  return stopped_;
}

uint64_t CAsyncAction::StartedCount() const {
  std::lock_guard guard(lock_);
  return startedCount_;
}

uint64_t CAsyncAction::FinishedCount() const {
  std::lock_guard guard(lock_);
  return finishedCount_;
}

void CAsyncAction::WaitUntil(std::unique_lock<std::mutex>& guard, Clock::time_point deadline) {
  const auto done = [this] { return stopped_ || triggered_; };
  if (deadline == Clock::time_point::max()) {
    wake_.wait(guard, done);
  } else {
    wake_.wait_until(guard, deadline, done);
  }
}

void CAsyncAction::Run(Duration firstDelay) {
  VX_LOG_SCOPE(Severity::DBG, "AsyncAction thread");
  std::unique_lock guard(lock_);
  WaitUntil(guard, After(Clock::now(), firstDelay));
  while (!stopped_) {
    triggered_ = false;
    std::packaged_task<void()> task(work_);
    currentRun_ = task.get_future().share();
    ++startedCount_;
    guard.unlock();
    VX_LOG(Severity::DBG2, u"Executing AsyncAction");
    task();
    try {
      currentRun_.get();
    } catch (...) {
      // The work's failure is its own business; the next run comes as planned.
    }
    guard.lock();
    ++finishedCount_;
    lastFinished_ = Clock::now();
    // The deadline is computed afresh after every wake, so that a new
    // interval counts from the end of the last run.
    for (;;) {
      if (stopped_ || triggered_) break;
      const Clock::time_point deadline =
          interval_ == Duration::zero() ? Clock::time_point::max() : After(lastFinished_, interval_);
      if (deadline != Clock::time_point::max() && Clock::now() >= deadline) break;
      const Duration seen = interval_;
      const auto woken = [&] { return stopped_ || triggered_ || interval_ != seen; };
      if (deadline == Clock::time_point::max()) {
        wake_.wait(guard, woken);
      } else {
        wake_.wait_until(guard, deadline, woken);
      }
    }
  }
}
