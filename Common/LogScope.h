#pragma once

#include <chrono>
#include <string>

#include "Common/Logger.h"

// Traces one function call: "Entering: <name>" on construction, and on
// destruction "Exiting: <name> [<ms> ms]", or "EXCEPTION at: ..." when an
// exception is leaving the scope. Nested scopes of a thread indent their
// lines. Costs one comparison when the severity is off.
class LogScope {
 public:
  LogScope(Severity severity, const char* name, const char* file, int line);
  ~LogScope();
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;

  // The calling thread's current indent, for the line format.
  static int ThreadIndent();

 private:
  Severity severity_;
  Severity exceptionSeverity_;
  const char* name_;
  const char* file_;
  int line_;
  std::chrono::steady_clock::time_point start_;
  int indent_ = 0;
  int uncaughtAtEntry_ = 0;
};

#define VX_LOG_SCOPE_CONCAT2(a, b) a##b
#define VX_LOG_SCOPE_CONCAT(a, b) VX_LOG_SCOPE_CONCAT2(a, b)
#define VX_LOG_SCOPE(severity, name) \
  LogScope VX_LOG_SCOPE_CONCAT(vxLogScope_, __LINE__)(severity, name, __FILE__, __LINE__)
