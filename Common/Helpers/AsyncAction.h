#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
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
//
// The work may even destroy its own action (it let go of the last owner of
// the object that holds the action): the destructor, run on the action's own
// thread, then stops the action and detaches the thread instead of joining it;
// the thread keeps what it uses alive, ends the current run and exits without
// running the work again.
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
  struct State;

  static void Run(State& state, Duration firstDelay);

  // Shared with the thread, which may outlive this object (see above).
  std::shared_ptr<State> state_;
  std::thread thread_;  // last: starts once the state is set
};
