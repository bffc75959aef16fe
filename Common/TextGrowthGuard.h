#pragma once

#include <cstddef>
#include <string_view>

// Bounds how far one pass over a text may grow it, for loops that search
// again where they replaced (a parameter whose value names a parameter, a
// rule whose output matches a rule): such a loop must end with a status
// rather than take minutes and gigabytes while the engine's lock is held.
//
// The limit, in UTF-16 code units of two bytes: 16 times the length before
// the pass, but at least 1 MiB of text (so that a short template still takes
// long values) and at most 64 MiB; a text that was already longer may keep
// its length.
//
//   TextGrowthGuard guard(text.size());
//   ... after each replacement: guard.Check(text.size(), u"parameter 'User'");
//
// Check raises HRX 0x80070057 with the text
//   ": the text grew from 215 to more than 524288 characters (parameter 'User')"
// when the length passes the limit. A value type with no shared state.
class TextGrowthGuard {
 public:
  static constexpr size_t kFactor = 16;
  static constexpr size_t kFloorBytes = size_t{1} << 20;
  static constexpr size_t kCeilingBytes = size_t{64} << 20;

  explicit TextGrowthGuard(size_t initialLength);

  // The longest text allowed, in code units.
  size_t limit() const { return limit_; }
  bool Allows(size_t length) const { return length <= limit_; }
  // Raises when `length` is past the limit; `context` names what grew it.
  void Check(size_t length, std::u16string_view context) const;

 private:
  size_t initial_;
  size_t limit_;
};
