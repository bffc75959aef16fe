#pragma once

#include <ostream>

#include "Common/Logger.h"

// For --trace: of all log lines, writes only those that show the command text
// after each processor ("***********Processor:<token> Result:<text>"), without
// the line's time and source columns, to `out`.
class TraceLogger : public Logger {
 public:
  explicit TraceLogger(std::ostream& out) : out_(out) {}
  void Write(const char16_t* text, size_t length) override;

 private:
  std::ostream& out_;
};
