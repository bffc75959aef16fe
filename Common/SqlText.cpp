#include "Common/SqlText.h"

#include <algorithm>

#include "Common/TextBuilder.h"

namespace {

size_t CountOf(std::u16string_view text, char16_t unit) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), unit));
}

// Writes `text` with every `doubled` unit written twice, copying the
// stretches between them in bulk.
char16_t* WriteDoubling(char16_t* at, std::u16string_view text, char16_t doubled) {
  for (size_t from = 0;;) {
    const size_t found = text.find(doubled, from);
    if (found == std::u16string_view::npos) return WriteText(at, text.substr(from));
    at = WriteText(at, text.substr(from, found + 1 - from));
    *at++ = doubled;
    from = found + 1;
  }
}

template <size_t (*Size)(std::u16string_view), char16_t* (*Write)(char16_t*, std::u16string_view)>
std::u16string Build(std::u16string_view text) {
  std::u16string out(Size(text), u'\0');
  Write(out.data(), text);
  return out;
}

}  // namespace

size_t EscapedColumnNameSize(std::u16string_view name) {
  return name.size() + CountOf(name, u']') + 2;
}

char16_t* WriteEscapedColumnName(char16_t* at, std::u16string_view name) {
  *at++ = u'[';
  at = WriteDoubling(at, name, u']');
  *at++ = u']';
  return at;
}

std::u16string EscapeColumnName(std::u16string_view name) {
  return Build<EscapedColumnNameSize, WriteEscapedColumnName>(name);
}

size_t EscapedStringValueSize(std::u16string_view value) {
  return value.size() + CountOf(value, u'\'');
}

char16_t* WriteEscapedStringValue(char16_t* at, std::u16string_view value) {
  return WriteDoubling(at, value, u'\'');
}

std::u16string EscapeStringValue(std::u16string_view value) {
  return Build<EscapedStringValueSize, WriteEscapedStringValue>(value);
}

size_t QuotedStringValueSize(std::u16string_view value) {
  return EscapedStringValueSize(value) + 3;
}

char16_t* WriteQuotedStringValue(char16_t* at, std::u16string_view value) {
  *at++ = u'N';
  *at++ = u'\'';
  at = WriteEscapedStringValue(at, value);
  *at++ = u'\'';
  return at;
}

std::u16string QuoteStringValue(std::u16string_view value) {
  return Build<QuotedStringValueSize, WriteQuotedStringValue>(value);
}

std::u16string JoinStrings(const std::vector<std::u16string>& parts,
                           std::u16string_view separator) {
  size_t size = 0;
  for (const auto& part : parts) size += (size ? separator.size() : 0) + part.size();
  std::u16string out(size, u'\0');
  char16_t* at = out.data();
  for (const auto& part : parts) {
    if (at != out.data()) at = WriteText(at, separator);
    at = WriteText(at, part);
  }
  return out;
}
