#pragma once

#include <cstddef>
#include <string_view>

namespace QueriesProcessing {

// Writes the values of an IN list straight from a stored string list (the
// units of the type-258 layout: each value terminated, then one more
// terminator), as "N'a',N'b'" with quotes in values doubled, or as "1,2"
// when `quote` is false (numbers converted to text). An empty list writes
// nothing.
//
// The list is counted first (size()), then written once by Write(), which
// copies the stretches between terminators and quotes 16 units at a time
// where the processor allows. Write may store up to kOverrun units past the
// text it writes; the caller's buffer must have that room.
class InListWriter {
 public:
  static constexpr size_t kOverrun = 16;

  InListWriter(std::u16string_view units, bool quote);

  // The length of the written text.
  size_t size() const { return size_; }

  // Writes at `at` and returns the place behind the text.
  char16_t* Write(char16_t* at) const;

 private:
  std::u16string_view units_;
  bool quote_;
  size_t size_ = 0;
};

}  // namespace QueriesProcessing
