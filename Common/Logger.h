#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <type_traits>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"

// Severities of the log, by number. A statement is written when its severity
// is at least CRIT and at most the configured maximum.
enum class Severity : int { NONE = 0, CRIT = 1, ERR = 2, WARN = 3, INFO = 4, DBG = 5, DBG2 = 6, DBG3 = 7 };

// The name of a severity as it stands in the log and in the settings.
std::u16string_view SeverityName(Severity severity);

// A destination of finished log lines. Write never raises.
class Logger {
 public:
  virtual ~Logger() = default;
  virtual void Write(const char16_t* text, size_t length) = 0;
};

namespace LogDetail {
// The process log's current maximum severity, for the inline check.
inline std::atomic<int> maxSeverity{static_cast<int>(Severity::DBG)};
// Calls left before this thread next asks whether the settings are due for a
// refresh; reading a clock on every statement would cost more than the rest.
inline thread_local uint32_t callsUntilRefreshCheck = 0;
bool IsEnabledSlow(Severity severity);
}  // namespace LogDetail

// True when `severity` is written: at least CRIT and at most the current
// maximum. The settings behind the maximum are looked at anew every 5 seconds.
// A statement that is off costs this check and nothing else.
inline bool IsLogEnabled(Severity severity) {
  if (LogDetail::callsUntilRefreshCheck-- == 0) return LogDetail::IsEnabledSlow(severity);
  const int value = static_cast<int>(severity);
  return value >= 1 && value <= LogDetail::maxSeverity.load(std::memory_order_relaxed);
}

// Formats one line and hands it to `logger`, or to every registered logger.
void Log(Severity severity, std::u16string_view text, const char* file, int line,
         Logger* logger = nullptr);

// The stream-like builder of a log statement's text.
class LogMessage {
 public:
  LogMessage& operator<<(std::u16string_view text) {
    text_ += text;
    return *this;
  }
  LogMessage& operator<<(const char16_t* text) { return *this << std::u16string_view(text ? text : u"(null)"); }
  LogMessage& operator<<(const std::u16string& text) { return *this << std::u16string_view(text); }
  LogMessage& operator<<(std::string_view utf8) { return *this << std::u16string_view(ToUtf16(utf8)); }
  LogMessage& operator<<(const char* utf8) { return *this << std::string_view(utf8 ? utf8 : "(null)"); }
  LogMessage& operator<<(bool value) { return *this << (value ? u"true" : u"false"); }
  template <typename T>
    requires std::is_integral_v<T> && (!std::is_same_v<T, bool>) && (!std::is_same_v<T, char16_t>)
  LogMessage& operator<<(T value) {
    text_ += std::is_signed_v<T> ? ToText(static_cast<int64_t>(value))
                                 : ToTextUnsigned(static_cast<uint64_t>(value));
    return *this;
  }
  LogMessage& operator<<(const HRES& status) { return *this << FormatStatus(status, 0); }

  const std::u16string& str() const { return text_; }

 private:
  std::u16string text_;
};

// Builds and writes one line if `severity` is on. Nothing is evaluated when it
// is off, and a failure while building never escapes:
//   VX_LOG(Severity::DBG, u"Current TOP:" << top << u" Set:" << top + expand);
#define VX_LOG(severity, message)                                       \
  do {                                                                  \
    if (IsLogEnabled(severity)) {                                       \
      LogMessage vxLogMessage_;                                         \
      try {                                                             \
        vxLogMessage_ << message;                                       \
      } catch (...) {                                                   \
        vxLogMessage_ << u"... (***EXCEPTION***)";                      \
      }                                                                 \
      Log(severity, vxLogMessage_.str(), __FILE__, __LINE__);           \
    }                                                                   \
  } while (0)

// Registers a logger of the process in one of four slots; false when all are
// taken. The logger must live until the process ends.
bool AddLogger(Logger* logger);

// Sets the highest severity written, in place of the `MaxSeverity` setting
// (a host's command-line choice); NONE turns everything off.
void SetMaxSeverity(Severity severity);

// The severity of a name ("NONE" ... "DBG3"); false for another text.
bool ParseSeverity(std::u16string_view name, Severity& severity);

// Writes a message of the logging machinery itself to standard error (the
// stand-in for the debugger's output): `text` and a line break.
void DebugOutput(std::u16string_view text);
