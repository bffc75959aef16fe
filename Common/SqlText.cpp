#include "Common/SqlText.h"

std::u16string EscapeColumnName(std::u16string_view name) {
  std::u16string out;
  out.reserve(name.size() + 4);
  out += u'[';
  for (char16_t c : name) {
    out += c;
    if (c == u']') out += u']';
  }
  out += u']';
  return out;
}

std::u16string EscapeStringValue(std::u16string_view value) {
  std::u16string out;
  out.reserve(value.size() + 2);
  for (char16_t c : value) {
    out += c;
    if (c == u'\'') out += u'\'';
  }
  return out;
}

std::u16string QuoteStringValue(std::u16string_view value) {
  std::u16string out;
  out.reserve(value.size() + 4);
  out += u"N'";
  out += EscapeStringValue(value);
  out += u'\'';
  return out;
}

std::u16string JoinStrings(const std::vector<std::u16string>& parts, std::u16string_view separator) {
  size_t size = 0;
  for (const auto& part : parts) size += part.size() + separator.size();
  std::u16string out;
  out.reserve(size);
  for (const auto& part : parts) {
    if (!out.empty()) out += separator;
    out += part;
  }
  return out;
}
