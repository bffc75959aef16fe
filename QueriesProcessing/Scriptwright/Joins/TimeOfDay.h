#pragma once

#include <cstdint>
#include <string_view>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// A time of day as a request writes it, "hours:minutes:seconds". The ranges
// of the numbers are not checked: "25:99:00" is a time.
struct TimeOfDay {
  int8_t seconds = 0;
  int8_t minutes = 0;
  int8_t hours = 0;

  // Hours in the top byte, then minutes, then seconds, and a zero low byte;
  // each number as its unsigned byte, so -1 orders after 23.
  uint32_t OrderKey() const;
};

inline bool operator<(const TimeOfDay& first, const TimeOfDay& second) {
  return first.OrderKey() < second.OrderKey();
}

// Reads three numbers as scanf's "%hhd:%hhd:%hhd" does: each may follow
// white space and carry a sign, the colons must stand right behind the
// digits, text behind the third number is ignored. A number beyond the 8-bit
// range keeps its low byte. False unless all three are read.
bool ScanTimeOfDay(std::u16string_view text, TimeOfDay& time);

// The time in the node's `Value`. A missing Value raises HRX 0x80070490; one
// that ScanTimeOfDay does not read raises 0x80070057 with the text
// "invalid format time" (behind ": ").
TimeOfDay ParseTime(const VXNodePtr& node);

}  // namespace QueriesProcessing
