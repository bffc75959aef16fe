#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

// A 128-bit identifier in the platform's memory layout (little-endian first
// three fields). Used for component classes, interfaces and node attributes.
struct GUID {
  uint32_t Data1 = 0;
  uint16_t Data2 = 0;
  uint16_t Data3 = 0;
  uint8_t Data4[8] = {};

  friend bool operator==(const GUID&, const GUID&) = default;
  friend auto operator<=>(const GUID&, const GUID&) = default;
};

// The four text forms of a GUID:
//   0  {0DD265D7-9C92-4FC0-9CBE-32D691746561}
//   1  0DD265D79C924FC09CBE32D691746561
//   2  0DD265D7-9C92-4FC0-9CBE-32D691746561
//   3  0dd265d7-9c92-4fc0-9cbe-32d691746561
std::u16string FormatGuid(const GUID& guid, int format = 0);

// Reads any of the four forms, either case. Empty on anything else.
std::optional<GUID> ParseGuid(std::u16string_view text);

// A literal for code: MakeGuid(u"{...}"); aborts on a malformed literal.
GUID MakeGuid(std::u16string_view literal);

// Orders GUIDs by the 16 bytes of the binary GUID, the platform's layout
// (the first three fields little-endian, then Data4), compared one by one as
// unsigned bytes. This is not the order of the text forms:
// {01000000-0000-0000-0000-000000000000} comes before
// {00000002-0000-0000-0000-000000000000}, whose first byte is 0x02. Every
// ordered set of GUIDs whose order can be seen uses it (GuidSet).
struct GuidBytesLess {
  bool operator()(const GUID& a, const GUID& b) const noexcept;
};

using GuidSet = std::set<GUID, GuidBytesLess>;

template <>
struct std::hash<GUID> {
  size_t operator()(const GUID& g) const noexcept;
};
