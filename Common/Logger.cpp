#include "Common/Logger.h"

#include <array>
#include <atomic>

namespace {

// The process-wide registry of loggers and the severity limit.
struct LogState {
  std::array<std::atomic<Logger*>, 4> slots{};
  std::atomic<int> maxSeverity{static_cast<int>(Severity::DBG)};
  std::atomic<bool> any{false};
};

LogState& State() {
  static LogState state;
  return state;
}

}  // namespace

std::u16string_view SeverityName(Severity severity) {
  static constexpr std::u16string_view kNames[] = {u"NONE", u"CRIT", u"ERR",  u"WARN",
                                                   u"INFO", u"DBG",  u"DBG2", u"DBG3"};
  const int index = static_cast<int>(severity);
  return index >= 0 && index < 8 ? kNames[index] : u"";
}

bool IsLogEnabled(Severity severity) {
  const int value = static_cast<int>(severity);
  auto& state = State();
  return value >= 1 && value <= state.maxSeverity.load(std::memory_order_relaxed) &&
         state.any.load(std::memory_order_relaxed);
}

void Log(Severity severity, std::u16string_view text, const char*, int, Logger* logger) {
  std::u16string line;
  line.reserve(text.size() + 8);
  line.append(SeverityName(severity)).append(u" | ").append(text).append(u"\r\n");
  if (logger) {
    logger->Write(line.data(), line.size());
    return;
  }
  for (auto& slot : State().slots) {
    if (Logger* target = slot.load()) target->Write(line.data(), line.size());
  }
}

bool AddLogger(Logger* logger) {
  auto& state = State();
  for (auto& slot : state.slots) {
    Logger* expected = nullptr;
    if (slot.compare_exchange_strong(expected, logger)) {
      state.any = true;
      return true;
    }
  }
  return false;
}

void SetMaxSeverity(Severity severity) { State().maxSeverity = static_cast<int>(severity); }
