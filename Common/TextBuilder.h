#pragma once

// Pieces for builders that write a text once: the caller works out how long
// a piece will be, makes room for it in one step, and writes it through a
// pointer, so no append checks and grows on every few characters.
//   char16_t* at = GrowBy(out, 2 + name.size());
//   at = WriteText(at, u" (");
//   at = WriteText(at, name);

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// Lengthens `text` by `count` units and returns where they start, for the
// caller to overwrite. The memory grows at least geometrically, and keeps
// whatever spare room it had on top, so a long run of small pieces is linear.
inline char16_t* GrowBy(std::u16string& text, size_t count) {
  const size_t size = text.size();
  if (text.capacity() - size < count) {
    text.reserve(std::max(text.capacity() * 2, text.capacity() + count));
  }
  text.resize(size + count);
  return text.data() + size;
}

// Appends a piece that `write(at)` writes, returning the place behind it,
// and that is known to take at most `bound` units. A short piece is written
// on the stack and appended in one copy, so it needs neither its exact size
// nor zero-filled room; a longer one is written in place into `bound` units,
// which are then cut to what was written.
template <typename Write>
void AppendBounded(std::u16string& text, size_t bound, Write&& write) {
  constexpr size_t kOnStack = 256;
  if (bound <= kOnStack) {
    char16_t piece[kOnStack];
    const char16_t* end = write(piece);
    text.append(piece, static_cast<size_t>(end - piece));
    return;
  }
  char16_t* start = GrowBy(text, bound);
  const size_t before = static_cast<size_t>(start - text.data());
  const char16_t* end = write(start);
  text.resize(before + static_cast<size_t>(end - start));
}

// Copies `piece` to `at` and returns the place behind it. Pieces of up to 8
// units, the usual ones, are moved as two overlapping words rather than by a
// call.
inline char16_t* WriteText(char16_t* at, std::u16string_view piece) {
  const size_t size = piece.size();
  const char16_t* from = piece.data();
  if (size > 8) {
    std::memcpy(at, from, size * sizeof(char16_t));
  } else if (size >= 4) {
    uint64_t head, tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + size - 4, sizeof tail);
    std::memcpy(at, &head, sizeof head);
    std::memcpy(at + size - 4, &tail, sizeof tail);
  } else if (size >= 2) {
    uint32_t head, tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + size - 2, sizeof tail);
    std::memcpy(at, &head, sizeof head);
    std::memcpy(at + size - 2, &tail, sizeof tail);
  } else if (size == 1) {
    *at = *from;
  }
  return at + size;
}
