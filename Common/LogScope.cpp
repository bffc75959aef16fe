#include "Common/LogScope.h"

#include "Common/FormatString.h"

namespace {

thread_local int tIndent = 0;

// Milliseconds with three decimals and a blank between groups of thousands:
// "1 234.567".
std::u16string ElapsedText(std::chrono::steady_clock::duration elapsed) {
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
  const std::u16string whole = FormatString(u"%I64d", micros / 1000);
  std::u16string grouped;
  grouped.reserve(whole.size() + whole.size() / 3 + 4);
  for (size_t i = 0; i < whole.size(); ++i) {
    if (i > 0 && (whole.size() - i) % 3 == 0) grouped += u' ';
    grouped += whole[i];
  }
  return grouped + FormatString(u".%03I64d", micros % 1000);
}

}  // namespace

LogScope::LogScope(Severity severity, const char* name, const char* file, int line)
    : severity_(severity), exceptionSeverity_(severity), name_(name), file_(file), line_(line) {
  if (!IsLogEnabled(severity_)) {
    name_ = nullptr;
    return;
  }
  uncaughtAtEntry_ = std::uncaught_exceptions();
  Log(severity_, u"Entering: " + ToUtf16(name_), file_, line_);
  ++tIndent;
  ++indent_;
  start_ = std::chrono::steady_clock::now();
}

LogScope::~LogScope() {
  if (!name_) return;
  const auto elapsed = std::chrono::steady_clock::now() - start_;
  const bool failing = std::uncaught_exceptions() != uncaughtAtEntry_;
  tIndent -= indent_;
  try {
    const std::u16string text = (failing ? u"EXCEPTION at: " : u"Exiting: ") + ToUtf16(name_) + u" [" +
                                ElapsedText(elapsed) + u" ms]";
    Log(failing ? exceptionSeverity_ : severity_, text, file_, line_);
  } catch (...) {
  }
}

int LogScope::ThreadIndent() { return tIndent; }
