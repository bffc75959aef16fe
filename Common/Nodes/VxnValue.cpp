#include "Common/Nodes/VxnValue.h"

#include <cstring>

#include "Common/Nodes/VxnApi.h"

void VxnValue::Assign(uint32_t type, std::span<const uint8_t> data) {
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
  if (auto* stored = std::get_if<std::u16string>(&storage_)) {
    stored->assign(text);
    return;
  }
  storage_.emplace<std::u16string>(text);
}

void VxnValue::AssignText(std::u16string&& text) {
  storage_.emplace<std::u16string>(std::move(text));
}
