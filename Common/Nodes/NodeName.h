#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "Common/Nodes/AttributeText.h"

// The name of an attribute, a child or a node type, as VXNodePtr takes it:
// a view of the caller's text. Most names are string literals, whose length
// is then taken at compile time (a view made from a bare pointer counts it
// on every call), and which are known to hold no U+0000. A literal ends at
// its first U+0000, as a terminated text would; a char16_t array that is not
// a constant does not convert, since its length is not known.
class NodeName {
 public:
  template <size_t N>
  consteval NodeName(const char16_t (&literal)[N])  // NOLINT: reads as the text
      : view_(literal, LiteralLength(literal)), isLiteral_(true) {}
  template <typename Pointer>
  requires std::is_convertible_v<Pointer, const char16_t*> &&
      (!std::is_array_v<std::remove_reference_t<Pointer>>)NodeName(Pointer text)
      : view_(static_cast<const char16_t*>(text)) {}             // NOLINT
  constexpr NodeName(std::u16string_view text) : view_(text) {}  // NOLINT
  NodeName(const std::u16string& text) : view_(text) {}          // NOLINT
  NodeName(const AttributeText& text) : view_(text.view()) {}    // NOLINT

  constexpr std::u16string_view view() const { return view_; }
  // True for a string literal, which cannot hold U+0000.
  constexpr bool IsLiteral() const { return isLiteral_; }
  constexpr operator std::u16string_view() const { return view_; }  // NOLINT

 private:
  template <size_t N>
  static consteval size_t LiteralLength(const char16_t (&literal)[N]) {
    size_t length = 0;
    while (length + 1 < N && literal[length] != 0) ++length;
    return length;
  }

  std::u16string_view view_;
  bool isLiteral_ = false;
};
