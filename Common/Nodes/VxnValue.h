#pragma once

// The stored value of one attribute, for the node library, in the layout of
// its type code (see VxnApi.h). It is kept so that reading costs no copy and
// small values no allocation:
//   - a string (type 2) as text, whose terminator is the one std::u16string
//     keeps: the layout's bytes and a view of the text are both at hand, and
//     a finished text can be handed over without a copy;
//   - any other value of up to 16 bytes (numbers, booleans, GUIDs, type 0,
//     short lists) in place;
//   - anything longer (lists) in a byte buffer.
//
// Not thread-safe, like the node that holds it.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

class VxnValue {
 public:
  // The value in the layout of its type; a string's bytes end with its
  // terminator. Valid until the value changes.
  std::span<const uint8_t> Bytes() const {
    if (const auto* text = std::get_if<std::u16string>(&storage_)) {
      // c_str() ends with the terminator the layout of a string wants.
      return {reinterpret_cast<const uint8_t*>(text->c_str()),
              (text->size() + 1) * sizeof(char16_t)};
    }
    if (const auto* small = std::get_if<Small>(&storage_)) return {small->bytes, small->size};
    const auto& bytes = std::get<std::vector<uint8_t>>(storage_);
    return {bytes.data(), bytes.size()};
  }

  // Stores `data`, already checked against the layout of `type`. A string
  // (type 2) is kept as text. Memory the value holds is reused when it fits;
  // `data` may lie in this value's own memory.
  void Assign(uint32_t type, std::span<const uint8_t> data);
  // Stores the text of a string (without terminator): copied into the
  // memory the value holds when it fits, or taken over with its buffer. The
  // text may be a view of this value.
  void AssignText(std::u16string_view text);
  void AssignText(std::u16string&& text);

 private:
  // Whether `data` lies, even in part, in the memory this value holds.
  bool Overlaps(std::span<const uint8_t> data) const;

  struct Small {
    uint8_t size;
    alignas(8) uint8_t bytes[16];
  };
  std::variant<Small, std::u16string, std::vector<uint8_t>> storage_;
};
