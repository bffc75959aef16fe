#pragma once

#include <string>
#include <string_view>
#include <vector>

// The escaping every caller value passes through on its way into SQL.

// "[" + name with every "]" doubled + "]". A dotted name stays one name:
//   EscapeColumnName(u"a]b.c") -> u"[a]]b.c]"
std::u16string EscapeColumnName(std::u16string_view name);

// The value with every "'" doubled; no quotes added.
std::u16string EscapeStringValue(std::u16string_view value);

// "N'" + EscapeStringValue(value) + "'".
std::u16string QuoteStringValue(std::u16string_view value);

// The parts in order; `separator` goes before a part only when the text so
// far is not empty, so leading empty parts leave no separator while a later
// empty part leaves its separators:
//   JoinStrings({u"", u"a", u"", u"b"}, u",") -> u"a,,b"
std::u16string JoinStrings(const std::vector<std::u16string>& parts, std::u16string_view separator);
