#pragma once

// Pieces for builders that write a text once: the caller works out how long
// a piece will be, makes room for it in one step, and writes it through a
// pointer, so no append checks and grows on every few characters.
//   char16_t* at = GrowBy(out, 2 + name.size());
//   at = WriteText(at, u" (");
//   at = WriteText(at, name);

#include <algorithm>
#include <cstddef>
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

// Copies `piece` to `at` and returns the place behind it.
inline char16_t* WriteText(char16_t* at, std::u16string_view piece) {
  if (!piece.empty()) std::memcpy(at, piece.data(), piece.size() * sizeof(char16_t));
  return at + piece.size();
}
