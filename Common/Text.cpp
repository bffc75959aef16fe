#include "Common/Text.h"

#include <bit>
#include <charconv>
#include <cstring>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | cp >> 6);
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | cp >> 12);
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | cp >> 18);
    out += char(0x80 | (cp >> 12 & 0x3F));
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

void AppendUtf16(std::u16string& out, char32_t cp) {
  if (cp < 0x10000) {
    out += char16_t(cp);
  } else {
    cp -= 0x10000;
    out += char16_t(0xD800 | cp >> 10);
    out += char16_t(0xDC00 | (cp & 0x3FF));
  }
}

// Decodes one UTF-8 sequence at `pos`, advancing it; rejects overlong forms,
// surrogates and values past U+10FFFF.
char32_t DecodeUtf8(std::string_view s, size_t& pos) {
  const unsigned char lead = s[pos++];
  if (lead < 0x80) return lead;
  int extra;
  char32_t cp;
  char32_t min;
  if ((lead & 0xE0) == 0xC0) {
    extra = 1, cp = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, cp = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, cp = lead & 0x07, min = 0x10000;
  } else {
    return kReplacement;
  }
  for (int i = 0; i < extra; ++i) {
    if (pos >= s.size() || (static_cast<unsigned char>(s[pos]) & 0xC0) != 0x80) return kReplacement;
    cp = cp << 6 | (static_cast<unsigned char>(s[pos++]) & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return kReplacement;
  return cp;
}

// Finds `token` in `text` from `pos`. Candidates for the first code unit are
// found with memchr on its low byte, which runs at memory speed; a hit on an
// odd byte offset is the high byte of some unit and is passed over.
static_assert(std::endian::native == std::endian::little, "FindToken reads UTF-16 units as bytes");

}  // namespace

size_t FindToken(std::u16string_view text, std::u16string_view token, size_t pos) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const size_t end = text.size() * 2;
  const int low = token[0] & 0xFF;
  for (size_t at = pos * 2; at < end;) {
    const void* hit = std::memchr(bytes + at, low, end - at);
    if (!hit) break;
    const size_t offset = static_cast<size_t>(static_cast<const unsigned char*>(hit) - bytes);
    at = offset + 1;
    if (offset % 2) continue;
    const size_t index = offset / 2;
    if (text.size() - index < token.size()) break;
    if (text.compare(index, token.size(), token) == 0) return index;
  }
  return std::u16string_view::npos;
}

namespace {

template <typename T>
std::u16string NumberText(T value) {
  char buffer[24];
  auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return std::u16string(buffer, end);
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  for (size_t pos = 0; pos < utf8.size();) AppendUtf16(out, DecodeUtf8(utf8, pos));
  return out;
}

std::string ToUtf8(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size() + utf16.size() / 2);
  for (size_t i = 0; i < utf16.size(); ++i) {
    char32_t cp = utf16[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
        utf16[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (utf16[++i] - 0xDC00);
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = kReplacement;
    }
    AppendUtf8(out, cp);
  }
  return out;
}

size_t ReplaceAll(std::u16string& text, std::u16string_view token, std::u16string_view replacement) {
  if (token.empty()) return 0;
  size_t pos = FindToken(text, token, 0);
  if (pos == std::u16string::npos) return 0;
  if (FindToken(text, token, pos + token.size()) == std::u16string::npos) {
    // One occurrence, the usual case: written in place, moving only the tail.
    text.replace(pos, token.size(), replacement);
    return 1;
  }
  // The result is built in a per-thread buffer that is then swapped with
  // `text`, so the next call reuses the old text's memory: fresh pages for
  // every replacement would cost more than the scan itself.
  thread_local std::u16string out;
  out.clear();
  out.reserve(replacement.size() > token.size() ? text.size() + text.size() / 2 : text.size());
  size_t start = 0;
  size_t count = 0;
  for (; pos != std::u16string::npos; pos = FindToken(text, token, start)) {
    out.append(text, start, pos - start);
    out.append(replacement);
    start = pos + token.size();
    ++count;
  }
  out.append(text, start);
  text.swap(out);
  return count;
}

std::u16string ToText(int64_t value) { return NumberText(value); }
std::u16string ToTextUnsigned(uint64_t value) { return NumberText(value); }
