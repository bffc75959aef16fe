#include "Common/Nodes/NodeValueText.h"

#include <cstring>

#include "Common/ErrorHandling.h"
#include "Common/Guid.h"
#include "Common/Nodes/VxnApi.h"
#include "Common/Nodes/VxnAttributeConversion.h"
#include "Common/Text.h"

namespace {

constexpr uint32_t kHexString = 0xFFFF;  // the "u16:" form of a string

struct Prefix {
  std::u16string_view name;
  uint32_t type;
};

constexpr Prefix kPrefixes[] = {
    {u"str", VXN_STRING}, {u"u16", kHexString}, {u"null", VXN_EMPTY},
    {u"i32", VXN_INT32},  {u"u32", VXN_UINT32}, {u"i64", VXN_INT64},
    {u"u64", VXN_UINT64}, {u"bool", VXN_BOOL},  {u"guid", VXN_GUID},
};

bool IsListable(uint32_t type) { return type != kHexString && type != VXN_EMPTY; }

// The type named by the prefix before the first ':', if it is one of ours.
bool FindPrefix(std::u16string_view text, uint32_t& type, size_t& length) {
  const size_t colon = text.find(u':');
  if (colon == std::u16string_view::npos) return false;
  std::u16string_view name = text.substr(0, colon);
  const bool list = name.ends_with(u"[]");
  if (list) name.remove_suffix(2);
  for (const auto& prefix : kPrefixes) {
    if (prefix.name != name || (list && !IsListable(prefix.type))) continue;
    type = list ? (prefix.type | VXN_LIST) : prefix.type;
    length = colon + 1;
    return true;
  }
  return false;
}

std::u16string_view PrefixName(uint32_t scalarType) {
  for (const auto& prefix : kPrefixes) {
    if (prefix.type == scalarType) return prefix.name;
  }
  return u"";
}

bool IsSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// Calls `each(index, valid)` for each unit; `valid` is false for a unit XML
// cannot carry. Surrogate pairs are valid, lone surrogates are not.
template <typename Each>
void ScanXmlChars(std::u16string_view text, Each each) {
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (IsSurrogate(c)) {
      const bool pair =
          c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
      each(i, pair);
      if (pair) each(++i, true);
      continue;
    }
    each(i, !((c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r') || c == 0xFFFE || c == 0xFFFF));
  }
}

void AppendHex(std::u16string& out, uint32_t value, int digits) {
  static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) out += kDigits[(value >> shift) & 0xF];
}

void AppendQuoted(std::u16string& out, std::u16string_view text) {
  out += u'"';
  ScanXmlChars(text, [&](size_t i, bool valid) {
    const char16_t c = text[i];
    switch (c) {
      case u'"':
        out += u"\\\"";
        return;
      case u'\\':
        out += u"\\\\";
        return;
      case u'\n':
        out += u"\\n";
        return;
      case u'\r':
        out += u"\\r";
        return;
      case u'\t':
        out += u"\\t";
        return;
      default:
        break;
    }
    if (valid) {
      out += c;
    } else {
      out += u"\\u";
      AppendHex(out, c, 4);
    }
  });
  out += u'"';
}

std::u16string ScalarText(uint32_t type, const uint8_t* p, size_t size) {
  std::vector<uint8_t> text;
  if (Failed(VxnConvertAttribute(type, {p, size}, VXN_STRING, text))) return u"";
  return std::u16string(reinterpret_cast<const char16_t*>(text.data()), text.size() / 2 - 1);
}

size_t ElementSize(uint32_t scalarType) {
  switch (scalarType) {
    case VXN_INT32:
    case VXN_UINT32:
      return 4;
    case VXN_INT64:
    case VXN_UINT64:
      return 8;
    case VXN_BOOL:
      return 1;
    case VXN_GUID:
      return 16;
    default:
      return 0;
  }
}

std::u16string FormatList(uint32_t scalarType, std::span<const uint8_t> data) {
  std::u16string out(PrefixName(scalarType));
  out += u"[]:[";
  bool first = true;
  auto separate = [&] {
    if (!first) out += u',';
    first = false;
  };
  if (scalarType == VXN_STRING) {
    const auto* chars = reinterpret_cast<const char16_t*>(data.data());
    const size_t length = data.size() / 2;
    for (size_t start = 0, i = 0; i + 1 < length; ++i) {
      if (chars[i] != 0) continue;
      separate();
      AppendQuoted(out, std::u16string_view(chars + start, i - start));
      start = i + 1;
    }
  } else {
    const size_t size = ElementSize(scalarType);
    for (size_t offset = 0; offset + size <= data.size(); offset += size) {
      separate();
      out += ScalarText(scalarType, data.data() + offset, size);
    }
  }
  out += u']';
  return out;
}

bool ParseScalar(std::u16string_view text, uint32_t type, std::vector<uint8_t>& out) {
  std::u16string terminated(text);
  terminated += u'\0';
  std::vector<uint8_t> source(terminated.size() * 2);
  std::memcpy(source.data(), terminated.data(), source.size());
  std::vector<uint8_t> converted;
  if (Failed(VxnConvertAttribute(VXN_STRING, source, type, converted))) return false;
  out.insert(out.end(), converted.begin(), converted.end());
  return true;
}

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

bool ParseHexUnits(std::u16string_view hex, size_t count, std::u16string& out) {
  if (hex.size() < count * 4) return false;
  for (size_t i = 0; i < count; ++i) {
    uint32_t value = 0;
    for (size_t j = 0; j < 4; ++j) {
      const int digit = HexDigit(hex[i * 4 + j]);
      if (digit < 0) return false;
      value = value << 4 | static_cast<uint32_t>(digit);
    }
    out += static_cast<char16_t>(value);
  }
  return true;
}

// Reads a list "[a,b]" from `text` at `pos`.
class ListParser {
 public:
  ListParser(std::u16string_view text, uint32_t scalarType) : text_(text), type_(scalarType) {}

  bool Parse(std::vector<uint8_t>& data, std::u16string& error) {
    SkipBlanks();
    if (!Take(u'[')) return Fail(error, u"a list must start with '['");
    SkipBlanks();
    size_t count = 0;
    if (!Take(u']')) {
      do {
        SkipBlanks();
        if (!Element(data, error)) return false;
        ++count;
        SkipBlanks();
      } while (Take(u','));
      if (!Take(u']')) return Fail(error, u"expected ',' or ']' in the list");
    }
    SkipBlanks();
    if (pos_ != text_.size()) return Fail(error, u"unexpected text after the list");
    if (type_ == VXN_STRING && count) data.insert(data.end(), {0, 0});
    return true;
  }

 private:
  bool Element(std::vector<uint8_t>& data, std::u16string& error) {
    if (type_ == VXN_STRING) {
      std::u16string value;
      if (!Quoted(value, error)) return false;
      // U+0000 ends an element in the list layout: it would split this one.
      if (value.find(u'\0') != std::u16string::npos)
        return Fail(error, u"a string in a list cannot hold U+0000");
      value += u'\0';
      const auto* p = reinterpret_cast<const uint8_t*>(value.data());
      data.insert(data.end(), p, p + value.size() * 2);
      return true;
    }
    const size_t start = pos_;
    while (pos_ < text_.size() && text_[pos_] != u',' && text_[pos_] != u']' &&
           !IsBlank(text_[pos_]))
      ++pos_;
    const std::u16string_view element = text_.substr(start, pos_ - start);
    if (!ParseScalar(element, type_, data)) {
      return Fail(error, u"'" + std::u16string(element) + u"' is not a valid " +
                             std::u16string(PrefixName(type_)));
    }
    return true;
  }

  bool Quoted(std::u16string& value, std::u16string& error) {
    if (!Take(u'"')) return Fail(error, u"a string in a list must be in double quotes");
    while (pos_ < text_.size() && text_[pos_] != u'"') {
      const char16_t c = text_[pos_++];
      if (c != u'\\') {
        value += c;
        continue;
      }
      if (pos_ >= text_.size()) break;
      const char16_t escape = text_[pos_++];
      switch (escape) {
        case u'"':
        case u'\\':
        case u'/':
          value += escape;
          break;
        case u'n':
          value += u'\n';
          break;
        case u'r':
          value += u'\r';
          break;
        case u't':
          value += u'\t';
          break;
        case u'b':
          value += u'\b';
          break;
        case u'f':
          value += u'\f';
          break;
        case u'u':
          if (!ParseHexUnits(text_.substr(pos_), 1, value)) return Fail(error, u"bad \\u escape");
          pos_ += 4;
          break;
        default:
          return Fail(error, u"unknown escape in a string");
      }
    }
    if (!Take(u'"')) return Fail(error, u"unterminated string in a list");
    return true;
  }

  static bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }
  void SkipBlanks() {
    while (pos_ < text_.size() && IsBlank(text_[pos_])) ++pos_;
  }
  bool Take(char16_t c) {
    if (pos_ >= text_.size() || text_[pos_] != c) return false;
    ++pos_;
    return true;
  }
  static bool Fail(std::u16string& error, std::u16string_view message) {
    error = message;
    return false;
  }

  std::u16string_view text_;
  uint32_t type_;
  size_t pos_ = 0;
};

}  // namespace

bool IsXmlText(std::u16string_view text) {
  bool valid = true;
  ScanXmlChars(text, [&](size_t, bool ok) { valid = valid && ok; });
  return valid;
}

std::u16string FormatStringValue(std::u16string_view value) {
  if (!IsXmlText(value)) {
    std::u16string out = u"u16:";
    out.reserve(4 + value.size() * 4);
    for (char16_t c : value) AppendHex(out, c, 4);
    return out;
  }
  uint32_t type;
  size_t length;
  if (FindPrefix(value, type, length)) return u"str:" + std::u16string(value);
  return std::u16string(value);
}

std::u16string FormatAttributeValue(uint32_t type, std::span<const uint8_t> data) {
  if (type == VXN_EMPTY) return u"null:";
  if (type & VXN_LIST) return FormatList(type & ~static_cast<uint32_t>(VXN_LIST), data);
  if (type == VXN_STRING) {
    return FormatStringValue(
        std::u16string_view(reinterpret_cast<const char16_t*>(data.data()), data.size() / 2 - 1));
  }
  return std::u16string(PrefixName(type)) + u":" + ScalarText(type, data.data(), data.size());
}

bool ParseStringValue(std::u16string_view text, std::u16string& value, std::u16string& error) {
  uint32_t type = VXN_STRING;
  std::vector<uint8_t> data;
  if (!ParseAttributeValue(text, type, data, error)) return false;
  if (type != VXN_STRING) {
    error = u"a name, type or node value must be text";
    return false;
  }
  value.assign(reinterpret_cast<const char16_t*>(data.data()), data.size() / 2 - 1);
  // The node library keeps these as terminated texts: U+0000 would cut them.
  if (value.find(u'\0') != std::u16string::npos) {
    error = u"a name, type or node value cannot hold U+0000";
    return false;
  }
  return true;
}

bool ParseAttributeValue(std::u16string_view text, uint32_t& type, std::vector<uint8_t>& data,
                         std::u16string& error) {
  data.clear();
  size_t length = 0;
  if (!FindPrefix(text, type, length)) {
    type = VXN_STRING;
    return ParseScalar(text, VXN_STRING, data);
  }
  const std::u16string_view rest = text.substr(length);
  if (type == kHexString) {
    std::u16string value;
    if (rest.size() % 4 || !ParseHexUnits(rest, rest.size() / 4, value)) {
      error = u"u16: needs four hex digits per character";
      return false;
    }
    type = VXN_STRING;
    return ParseScalar(value, VXN_STRING, data);
  }
  if (type & VXN_LIST)
    return ListParser(rest, type & ~static_cast<uint32_t>(VXN_LIST)).Parse(data, error);
  if (type == VXN_EMPTY) {
    if (rest.empty()) return true;
    error = u"null: takes no value";
    return false;
  }
  if (type == VXN_STRING) return ParseScalar(rest, VXN_STRING, data);
  if (type == VXN_BOOL && rest != u"true" && rest != u"false") {
    error = u"bool: takes true or false";
    return false;
  }
  if (!ParseScalar(rest, type, data)) {
    error = u"'" + std::u16string(rest) + u"' is not a valid " + std::u16string(PrefixName(type));
    return false;
  }
  return true;
}
