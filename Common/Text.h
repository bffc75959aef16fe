#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The system's text is UTF-16. These helpers convert at the borders (files,
// console, command line) and do the few whole-text operations that every
// processor needs. Every function here runs in time linear in its input.

// UTF-8 to UTF-16. A malformed sequence becomes U+FFFD.
std::u16string ToUtf16(std::string_view utf8);

// UTF-16 to UTF-8. A lone surrogate becomes U+FFFD.
std::string ToUtf8(std::u16string_view utf16);

// Replaces every exact, case-sensitive occurrence of `token` in `text` and
// returns how many there were. The search goes on behind each replacement, so
// text that a replacement brings in is never scanned again:
//   ReplaceAll(s = u"%X%", u"%X%", u"a%X%b")  ->  s == u"a%X%b", returns 1
// An empty token changes nothing and returns 0. One pass over `text`.
size_t ReplaceAll(std::u16string& text, std::u16string_view token, std::u16string_view replacement);

// The first exact occurrence of `token` in `text` at or after `pos`, or npos.
// `token` is not empty. The search for its first unit runs at memory speed.
size_t FindToken(std::u16string_view text, std::u16string_view token, size_t pos);

// Decimal text of a number.
std::u16string ToText(int64_t value);
std::u16string ToTextUnsigned(uint64_t value);
