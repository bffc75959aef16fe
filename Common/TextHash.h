#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

// Hashing of UTF-16 text for unordered containers that are looked up by
// view: with TextHash and std::equal_to<>, find(view) and contains(view)
// build no key string.
struct TextHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view text) const {
    return std::hash<std::u16string_view>()(text);
  }
};

// A set of texts, exact and case-sensitive, looked up by view.
using TextSet = std::unordered_set<std::u16string, TextHash, std::equal_to<>>;

// A map from text, exact and case-sensitive, looked up by view.
template <typename Value>
using TextMap = std::unordered_map<std::u16string, Value, TextHash, std::equal_to<>>;
