#pragma once

#include <chrono>
#include <memory>

namespace QueriesProcessing {

// The clock of a polling loop: the time, and a sleep. A seam, so that tests
// run the loop without waiting in real time.
class PollClock {
 public:
  using Duration = std::chrono::steady_clock::duration;
  using TimePoint = std::chrono::steady_clock::time_point;

  virtual ~PollClock() = default;
  virtual TimePoint Now() const = 0;
  virtual void SleepFor(Duration duration) const = 0;

  // Sleeps until `duration` from now has passed, in slices of at most one
  // second. A fake clock must move on in SleepFor, or this never ends.
  void SleepAbsolute(Duration duration) const;

  // The steady clock and the thread's sleep; shared, thread-safe.
  static std::shared_ptr<const PollClock> Steady();
};

}  // namespace QueriesProcessing
