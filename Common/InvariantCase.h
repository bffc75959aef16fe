#pragma once

#include <string>
#include <string_view>

// Upper case without a locale: the same answer on every machine and for every
// caller, so that names compared or hashed after upper-casing agree (a
// database's key, the hash in a continuation mark, and whatever compares
// them later).
//
// The mapping is Unicode's simple one, unit by unit: a UTF-16 unit whose upper
// case is exactly one other character of the Basic Multilingual Plane becomes
// that character; every other unit stays. So "ß" stays "ß" (its upper case is
// two letters), "ÿ" becomes "Ÿ", "ı" becomes "I". Surrogate units are left as
// they are: characters beyond the Basic Multilingual Plane are never changed,
// and a text keeps its length in units.
//
// The table comes from Unicode 14.0 (scripts/gen-invariant-case.py). The
// result of upper-casing is upper-cased again to itself. Pure functions,
// thread-safe, linear in the text; ASCII takes no table look-up.

// "Straße ÿ" -> "STRAßE Ÿ".
std::u16string InvariantUpper(std::u16string_view text);

// One unit.
char16_t InvariantUpper(char16_t unit);
