#include "Common/Nodes/NodeTextBytes.h"

#include <cstdint>

namespace {

constexpr uint32_t kMaxCodePoint = 0x10FFFF;

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// The length of the well-formed UTF-8 sequence that starts at `i` (a byte
// of 0x80 or more), or 0.
size_t SequenceLength(std::string_view text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[i + k]); };
  const unsigned char lead = byte(0);
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // past U+10FFFF
  } else {
    return 0;
  }
  if (i + length > text.size() || byte(1) < low || byte(1) > high) return 0;
  for (size_t k = 2; k < length; ++k) {
    if (!IsContinuation(byte(k))) return 0;
  }
  return length;
}

int DigitValue(char c, bool hex) {
  if (c >= '0' && c <= '9') return c - '0';
  if (!hex) return -1;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// True when the reference "&#...;" at `i` names a character XML can carry
// in a value. Malformed references are left to the parser.
bool IsSoundReference(std::string_view text, size_t i) {
  size_t k = i + 2;
  const bool hex = k < text.size() && text[k] == 'x';
  if (hex) ++k;
  uint32_t value = 0;
  bool digits = false;
  for (; k < text.size(); ++k) {
    const int digit = DigitValue(text[k], hex);
    if (digit < 0) break;
    digits = true;
    value = value * (hex ? 16 : 10) + static_cast<uint32_t>(digit);
    if (value > kMaxCodePoint) return false;
  }
  if (!digits || k >= text.size() || text[k] != ';') return true;
  return value != 0 && !(value >= 0xD800 && value <= 0xDFFF);
}

bool LooksUtf16(std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return true;
  return text.substr(0, 4).find('\0') != std::string_view::npos;
}

// Parts of a document where "&#" is plain text.
struct Skipped {
  std::string_view open, close;
};
constexpr Skipped kSkipped[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

const Skipped* SkippedAt(std::string_view rest) {
  for (const auto& part : kSkipped) {
    if (rest.starts_with(part.open)) return &part;
  }
  return nullptr;
}

}  // namespace

std::optional<NodeTextFault> FindNodeTextFault(std::string_view text) {
  if (LooksUtf16(text)) {
    return NodeTextFault{0,
                         u"the text is UTF-16 (a byte-order mark or NUL bytes at its start); "
                         u"the node text form is UTF-8"};
  }
  std::string_view close;  // set while inside a skipped part
  for (size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const size_t length = SequenceLength(text, i);
      if (!length) return NodeTextFault{i, u"the text is not valid UTF-8 here"};
      i += length;
      continue;
    }
    if (c == 0)
      return NodeTextFault{i, u"a NUL byte; write a string holding U+0000 in the u16: form"};
    if (!close.empty()) {
      if (text.substr(i).starts_with(close)) {
        i += close.size();
        close = {};
      } else {
        ++i;
      }
      continue;
    }
    if (const Skipped* part = c == '<' ? SkippedAt(text.substr(i)) : nullptr) {
      close = part->close;
      i += part->open.size();
      continue;
    }
    if (c == '&' && i + 1 < text.size() && text[i + 1] == '#' && !IsSoundReference(text, i)) {
      return NodeTextFault{
          i,
          u"a character reference to U+0000, a surrogate or no character; write such "
          u"a string in the u16: form"};
    }
    ++i;
  }
  return std::nullopt;
}
