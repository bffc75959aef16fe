#pragma once

// Small scans and comparisons of UTF-16 text that read four units at a time
// as one 64-bit word instead of one unit after another: the texts they see
// (names, node types, values) are mostly a few units long, where a call to
// the C library costs more than the work. All are inline and exact.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace text_units {

inline uint64_t Word(const char16_t* at) {
  uint64_t units;
  std::memcpy(&units, at, sizeof units);
  return units;
}

// A zero unit in `units` shows as its top bit in (x - 0x0001...) & ~x.
inline bool HasZeroUnit(uint64_t units) {
  constexpr uint64_t kOnes = 0x0001000100010001u;
  constexpr uint64_t kTops = 0x8000800080008000u;
  return ((units - kOnes) & ~units & kTops) != 0;
}

}  // namespace text_units

// True if `text` holds `unit`.
inline bool HasUnit(std::u16string_view text, char16_t unit) {
  const size_t size = text.size();
  if (size < 4) return text.find(unit) != std::u16string_view::npos;
  const uint64_t pattern = 0x0001000100010001u * unit;
  for (size_t at = 0; at + 4 <= size; at += 4) {
    if (text_units::HasZeroUnit(text_units::Word(text.data() + at) ^ pattern)) return true;
  }
  // The last units, overlapping the ones read.
  return text_units::HasZeroUnit(text_units::Word(text.data() + size - 4) ^ pattern);
}

// True if `text` holds U+0000.
inline bool HasNulUnit(std::u16string_view text) { return HasUnit(text, u'\0'); }

// True if both texts hold the same units.
inline bool EqualUnits(std::u16string_view a, std::u16string_view b) {
  const size_t size = a.size();
  if (size != b.size()) return false;
  if (size < 4) return a == b;
  for (size_t at = 0; at + 4 < size; at += 4) {
    if (text_units::Word(a.data() + at) != text_units::Word(b.data() + at)) return false;
  }
  return text_units::Word(a.data() + size - 4) == text_units::Word(b.data() + size - 4);
}
