#include "Common/Nodes/VxnValue.h"

#include <cstring>
#include <functional>

#include "Common/Nodes/VxnApi.h"

bool VxnValue::Overlaps(std::span<const uint8_t> data) const {
  if (data.empty()) return false;
  const std::span<const uint8_t> own = Bytes();
  const std::less<const uint8_t*> before;
  return before(data.data(), own.data() + own.size()) && before(own.data(), data.data() + data.size());
}

void VxnValue::Assign(uint32_t type, std::span<const uint8_t> data) {
  if (Overlaps(data)) {
    // Storing a value read from this one: the memory it lies in may be
    // reused or freed below, so it is copied first.
    const std::vector<uint8_t> copy(data.begin(), data.end());
    Assign(type, copy);
    return;
  }
  if (type == VXN_STRING) {
    const size_t length = data.size() / sizeof(char16_t) - 1;
    std::u16string* text = std::get_if<std::u16string>(&storage_);
    if (!text) text = &storage_.emplace<std::u16string>();
    text->resize(length);
    if (length) std::memcpy(text->data(), data.data(), length * sizeof(char16_t));
    return;
  }
  if (data.size() <= sizeof(Small::bytes)) {
    Small& small = storage_.emplace<Small>();
    small.size = static_cast<uint8_t>(data.size());
    if (!data.empty()) std::memcpy(small.bytes, data.data(), data.size());
    return;
  }
  std::vector<uint8_t>* bytes = std::get_if<std::vector<uint8_t>>(&storage_);
  if (!bytes) bytes = &storage_.emplace<std::vector<uint8_t>>();
  bytes->assign(data.begin(), data.end());
}

void VxnValue::AssignText(std::u16string_view text) {
  if (Overlaps({reinterpret_cast<const uint8_t*>(text.data()), text.size() * sizeof(char16_t)})) {
    AssignText(std::u16string(text));
    return;
  }
  if (auto* stored = std::get_if<std::u16string>(&storage_)) {
    stored->assign(text);
    return;
  }
  storage_.emplace<std::u16string>(text);
}

void VxnValue::AssignText(std::u16string&& text) {
  storage_.emplace<std::u16string>(std::move(text));
}
