#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "Common/Logger.h"

// The fields of one log line.
struct LogLineFields {
  std::tm local{};         // local date and time
  unsigned millisecond = 0;
  unsigned ticks = 0;      // the time's remainder in 100 ns ticks, modulo 10,000
  Severity severity = Severity::NONE;
  uint32_t threadId = 0;   // cut to 16 bits on the line
  uint32_t processId = 0;  // cut to 16 bits on the line
  std::string_view file;   // full path; only its last component is written
  unsigned line = 0;
  int indent = 0;          // limited to 0..30; two blanks each
  std::u16string_view text;
};

// The line, exactly:
//   "%04u-%02u-%02u %02u:%02u:%02u.%03u%04u | %-4.4s |%5u %5u | %.*s:%-*u| %*s%s\r\n"
// where the line number's field is 4 wide plus the number of characters by
// which the file name falls short of 26.
std::u16string FormatLogLine(const LogLineFields& fields);

// The fields for now, this thread and this process.
LogLineFields CurrentLogLineFields(Severity severity, std::string_view file, unsigned line, int indent,
                                   std::u16string_view text);

// The banner that starts every new log file.
std::u16string LogBanner();
