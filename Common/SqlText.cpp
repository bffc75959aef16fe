#include "Common/SqlText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Common/TextBuilder.h"
#include "Common/TextUnits.h"

namespace {

size_t CountOf(std::u16string_view text, char16_t unit) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), unit));
}

// Writes `text` with every `doubled` unit written twice. Four units are
// moved at a time while none of them is to be doubled, the usual case; the
// word that holds one, and a short tail, go unit by unit.
char16_t* WriteDoubling(char16_t* at, std::u16string_view text, char16_t doubled) {
  const uint64_t pattern = 0x0001000100010001u * doubled;
  const char16_t* from = text.data();
  const char16_t* const end = from + text.size();
  while (end - from >= 4) {
    const uint64_t units = text_units::Word(from);
    if (text_units::HasZeroUnit(units ^ pattern)) {
      for (int i = 0; i < 4; ++i, ++from) {
        *at++ = *from;
        if (*from == doubled) *at++ = doubled;
      }
      continue;
    }
    std::memcpy(at, &units, sizeof units);
    at += 4;
    from += 4;
  }
  for (; from != end; ++from) {
    *at++ = *from;
    if (*from == doubled) *at++ = doubled;
  }
  return at;
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
