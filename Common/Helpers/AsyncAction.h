#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

// Runs `work` again and again on a thread of its own until stopped.
//
// The first run comes after `firstDelay` (kWaitForTrigger: only when
// triggered); each later one `interval` after the previous run finished, or at
// once when triggered. An interval of zero means no timed run: the action
// sleeps until triggered or stopped. This is the retry pattern: start with an
// interval, and let the work set it to zero once it has succeeded.
//
// Runs never overlap. An exception of the work is absorbed; the next run comes
// as planned. `work` may call SetInterval, Trigger and IsStopped on its own
// action. Stop does not wait; the destructor stops and joins. Thread-safe. The
// clock is the steady clock, which never jumps with the system time.
class CAsyncAction {
 public:
  using Duration = std::chrono::steady_clock::duration;
  static constexpr Duration kWaitForTrigger = Duration::max();

  CAsyncAction(Duration interval, Duration firstDelay, std::function<void()> work);
  // The first run after one interval.
  CAsyncAction(Duration interval, std::function<void()> work);
  ~CAsyncAction();
  CAsyncAction(const CAsyncAction&) = delete;
  CAsyncAction& operator=(const CAsyncAction&) = delete;

  // Stores a new interval and wakes the thread, if it differs.
  void SetInterval(Duration interval);
  // Asks for a run now (or, during a run, right after it).
  void Trigger();
  void Stop();
  bool IsStopped() const;

  uint64_t StartedCount() const;
  uint64_t FinishedCount() const;

 private:
  void Run(Duration firstDelay);
  // Waits until stopped, triggered or `deadline`; a max deadline waits for good.
  void WaitUntil(std::unique_lock<std::mutex>& guard, std::chrono::steady_clock::time_point deadline);

  mutable std::mutex lock_;
  std::condition_variable wake_;
  Duration interval_;                                  // guarded by lock_
  std::chrono::steady_clock::time_point lastFinished_; // guarded by lock_
  bool triggered_ = false;                             // guarded by lock_
  bool stopped_ = false;                               // guarded by lock_
  uint64_t startedCount_ = 0;                          // guarded by lock_
  uint64_t finishedCount_ = 0;                         // guarded by lock_
  std::shared_future<void> currentRun_;                // guarded by lock_
  std::function<void()> work_;
  std::thread thread_;  // last: starts once everything above is set
};
