#pragma once

#include <cstdint>
#include <memory>

namespace QueriesProcessing {

// The time of the session records: a 64-bit count of 100 ns ticks of the
// system clock. Only differences matter, so the epoch is the clock's own.
// Tests put a clock of their own in, so that retention needs no waiting.
class ISessionClock {
 public:
  static constexpr int64_t kTicksPerSecond = 10'000'000;

  virtual ~ISessionClock() = default;
  // Thread-safe.
  virtual int64_t Now() const = 0;
};

// The system clock in ticks of 100 ns; one shared object.
std::shared_ptr<const ISessionClock> SystemSessionClock();

}  // namespace QueriesProcessing
