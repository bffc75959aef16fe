#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The escaping every caller value passes through on its way into SQL.
//
// Each form comes as a function that returns a new text, and as a pair for
// builders that write a statement once (see TextBuilder.h): ...Size gives
// the length of the form, Write... writes it at `at` and returns the place
// behind it. The two agree:
//   char16_t* at = GrowBy(out, EscapedColumnNameSize(name));
//   at = WriteEscapedColumnName(at, name);  // exactly at the end of out

// "[" + name with every "]" doubled + "]". A dotted name stays one name:
//   EscapeColumnName(u"a]b.c") -> u"[a]]b.c]"
std::u16string EscapeColumnName(std::u16string_view name);
size_t EscapedColumnNameSize(std::u16string_view name);
char16_t* WriteEscapedColumnName(char16_t* at, std::u16string_view name);

// The value with every "'" doubled; no quotes added.
std::u16string EscapeStringValue(std::u16string_view value);
size_t EscapedStringValueSize(std::u16string_view value);
char16_t* WriteEscapedStringValue(char16_t* at, std::u16string_view value);

// "N'" + EscapeStringValue(value) + "'".
std::u16string QuoteStringValue(std::u16string_view value);
size_t QuotedStringValueSize(std::u16string_view value);
char16_t* WriteQuotedStringValue(char16_t* at, std::u16string_view value);

// The parts in order; `separator` goes before a part only when the text so
// far is not empty, so leading empty parts leave no separator while a later
// empty part leaves its separators:
//   JoinStrings({u"", u"a", u"", u"b"}, u",") -> u"a,,b"
// Sized first, then written once.
std::u16string JoinStrings(const std::vector<std::u16string>& parts, std::u16string_view separator);
