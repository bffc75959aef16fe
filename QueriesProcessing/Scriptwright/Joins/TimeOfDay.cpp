#include "QueriesProcessing/Scriptwright/Joins/TimeOfDay.h"

#include <limits>

#include "Common/ErrorHandling.h"

namespace QueriesProcessing {

namespace {

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// One "%hhd" from `at`; moves `at` behind it.
bool ScanNumber(std::u16string_view text, size_t& at, int8_t& number) {
  while (at < text.size() && IsSpace(text[at])) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) negative = text[at++] == u'-';
  if (at >= text.size() || !IsDigit(text[at])) return false;
  // Like strtol the value saturates at the 64-bit range; the store then
  // keeps the low byte.
  const uint64_t limit = uint64_t{std::numeric_limits<int64_t>::max()} + (negative ? 1 : 0);
  uint64_t magnitude = 0;
  for (; at < text.size() && IsDigit(text[at]); ++at) {
    magnitude = magnitude > limit / 10 ? limit : magnitude * 10 + (text[at] - u'0');
    if (magnitude > limit) magnitude = limit;
  }
  const uint64_t value = negative ? 0 - magnitude : magnitude;
  number = static_cast<int8_t>(static_cast<uint8_t>(value & 0xFF));
  return true;
}

bool ScanColon(std::u16string_view text, size_t& at) {
  if (at >= text.size() || text[at] != u':') return false;
  ++at;
  return true;
}

}  // namespace

uint32_t TimeOfDay::OrderKey() const {
  return static_cast<uint32_t>(static_cast<uint8_t>(hours)) << 24 |
         static_cast<uint32_t>(static_cast<uint8_t>(minutes)) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(seconds)) << 8;
}

bool ScanTimeOfDay(std::u16string_view text, TimeOfDay& time) {
  size_t at = 0;
  TimeOfDay read;
  if (!ScanNumber(text, at, read.hours) || !ScanColon(text, at) ||
      !ScanNumber(text, at, read.minutes) || !ScanColon(text, at) ||
      !ScanNumber(text, at, read.seconds)) {
    return false;
  }
  time = read;
  return true;
}

TimeOfDay ParseTime(const VXNodePtr& node) {
  TimeOfDay time;
  if (!ScanTimeOfDay(node.GetString(u"Value"), time)) {
    ThrowError(E_INVALIDARG, u": invalid format time");
  }
  return time;
}

}  // namespace QueriesProcessing
