#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// The elements of a value in the string list layout (type 258: each string
// terminated, then one more terminator), read in place as views. Valid as
// long as the bytes are.
//   StringListView list(bytes);  // bytes of ["a", "", "b"]
//   list.ForEach([](std::u16string_view s) { ... });  // "a", "", "b"
class StringListView {
 public:
  explicit StringListView(std::span<const uint8_t> bytes)
      : chars_(reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / sizeof(char16_t)) {}

  // Calls `each(element)` for every element, in order.
  template <typename Each>
  void ForEach(Each&& each) const {
    for (size_t start = 0; start + 1 < chars_.size();) {
      const size_t end = chars_.find(u'\0', start);
      each(chars_.substr(start, end - start));
      start = end + 1;
    }
  }

  // Every unit of the layout, terminators included.
  std::u16string_view units() const { return chars_; }

 private:
  std::u16string_view chars_;
};
