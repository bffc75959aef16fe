#include "Common/Guid.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr char16_t kUpper[] = u"0123456789ABCDEF";
constexpr char16_t kLower[] = u"0123456789abcdef";

// Byte order of the 16 bytes as they appear in the text, most significant first.
void ToTextBytes(const GUID& g, uint8_t out[16]) {
  for (int i = 0; i < 4; ++i) out[i] = uint8_t(g.Data1 >> (24 - 8 * i));
  out[4] = uint8_t(g.Data2 >> 8);
  out[5] = uint8_t(g.Data2);
  out[6] = uint8_t(g.Data3 >> 8);
  out[7] = uint8_t(g.Data3);
  std::memcpy(out + 8, g.Data4, 8);
}

// The 16 bytes of the binary GUID, whatever the byte order of this machine.
void ToBinaryBytes(const GUID& g, uint8_t out[16]) {
  for (int i = 0; i < 4; ++i) out[i] = uint8_t(g.Data1 >> (8 * i));
  out[4] = uint8_t(g.Data2);
  out[5] = uint8_t(g.Data2 >> 8);
  out[6] = uint8_t(g.Data3);
  out[7] = uint8_t(g.Data3 >> 8);
  std::memcpy(out + 8, g.Data4, 8);
}

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

}  // namespace

std::u16string FormatGuid(const GUID& guid, int format) {
  uint8_t bytes[16];
  ToTextBytes(guid, bytes);
  const char16_t* digits = format == 3 ? kLower : kUpper;
  const bool hyphens = format != 1;
  std::u16string text;
  text.reserve(38);
  if (format == 0) text += u'{';
  for (int i = 0; i < 16; ++i) {
    if (hyphens && (i == 4 || i == 6 || i == 8 || i == 10)) text += u'-';
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 0xF];
  }
  if (format == 0) text += u'}';
  return text;
}

std::optional<GUID> ParseGuid(std::u16string_view text) {
  if (text.size() == 38) {
    if (text.front() != u'{' || text.back() != u'}') return std::nullopt;
    text = text.substr(1, 36);
  }
  const bool hyphens = text.size() == 36;
  if (!hyphens && text.size() != 32) return std::nullopt;
  uint8_t bytes[16];
  size_t pos = 0;
  for (int i = 0; i < 16; ++i) {
    if (hyphens && (i == 4 || i == 6 || i == 8 || i == 10) && text[pos++] != u'-') return std::nullopt;
    const int hi = HexValue(text[pos++]);
    const int lo = HexValue(text[pos++]);
    if (hi < 0 || lo < 0) return std::nullopt;
    bytes[i] = uint8_t(hi << 4 | lo);
  }
  GUID g;
  g.Data1 = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
  g.Data2 = uint16_t(bytes[4] << 8 | bytes[5]);
  g.Data3 = uint16_t(bytes[6] << 8 | bytes[7]);
  std::memcpy(g.Data4, bytes + 8, 8);
  return g;
}

bool GuidBytesLess::operator()(const GUID& a, const GUID& b) const noexcept {
  uint8_t first[16];
  uint8_t second[16];
  ToBinaryBytes(a, first);
  ToBinaryBytes(b, second);
  return std::memcmp(first, second, 16) < 0;
}

GUID MakeGuid(std::u16string_view literal) {
  auto guid = ParseGuid(literal);
  if (!guid) std::abort();
  return *guid;
}

size_t std::hash<GUID>::operator()(const GUID& g) const noexcept {
  uint64_t a = uint64_t(g.Data1) << 32 | uint64_t(g.Data2) << 16 | g.Data3;
  uint64_t b;
  std::memcpy(&b, g.Data4, 8);
  return std::hash<uint64_t>()(a * 0x9E3779B97F4A7C15ull ^ b);
}
