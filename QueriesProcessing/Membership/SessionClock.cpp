#include "QueriesProcessing/Membership/SessionClock.h"

#include <chrono>

namespace QueriesProcessing {
namespace {

class SystemClock : public ISessionClock {
 public:
  int64_t Now() const override {
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, kTicksPerSecond>>;
    return std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  }
};

}  // namespace

std::shared_ptr<const ISessionClock> SystemSessionClock() {
  static const auto clock = std::make_shared<const SystemClock>();
  return clock;
}

}  // namespace QueriesProcessing
