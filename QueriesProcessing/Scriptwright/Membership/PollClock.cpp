#include "QueriesProcessing/Scriptwright/Membership/PollClock.h"

#include <algorithm>
#include <thread>

namespace QueriesProcessing {

namespace {

class SteadyPollClock : public PollClock {
 public:
  TimePoint Now() const override { return std::chrono::steady_clock::now(); }
  void SleepFor(Duration duration) const override { std::this_thread::sleep_for(duration); }
};

}  // namespace

void PollClock::SleepAbsolute(Duration duration) const {
  constexpr Duration kSlice = std::chrono::milliseconds(1000);
  const TimePoint deadline = Now() + duration;
  for (TimePoint now = Now(); now < deadline; now = Now()) {
    SleepFor(std::min(deadline - now, kSlice));
  }
}

std::shared_ptr<const PollClock> PollClock::Steady() {
  static const auto clock = std::make_shared<const SteadyPollClock>();
  return clock;
}

}  // namespace QueriesProcessing
