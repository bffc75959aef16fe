#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"

// How the environment file's stand-ins compare what the library sends with
// what the file says. Pure functions over trees that no one changes.

// The value of attribute `name` of `node` as text: a scalar converted by the
// node library (a number in decimal, a boolean "true"/"false", a GUID in
// braces and upper case), a list's elements so converted and joined by ",",
// type 0 the empty text. None when `node` is null or lacks the attribute.
std::optional<std::u16string> AttributeText(const VXNodePtr& node, std::u16string_view name);

// True when two texts name the same thing: the same GUID when both read as
// GUIDs (any of the four forms, any case), else the same text exactly.
//   SameValue(u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}",
//             u"0dd265d79c924fc09cbe32d691746561")   -> true
//   SameValue(u"Audit", u"AUDIT")                      -> false
bool SameValue(std::u16string_view a, std::u16string_view b);

// The node's `Status` attribute (unsigned 32-bit) as a status, or none.
// Raises HRX when the attribute holds no such number.
std::optional<HRESULT> StatusAttribute(const VXNodePtr& node);

// "0x%08X" of a status, for the stand-ins' log lines.
std::u16string StatusText(HRESULT status);
