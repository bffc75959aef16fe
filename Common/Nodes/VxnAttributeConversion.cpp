#include "Common/Nodes/VxnAttributeConversion.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Guid.h"
#include "Common/Text.h"

namespace {

// One scalar value in a form every type converts from.
struct Scalar {
  enum class Kind { Signed, Unsigned, Bool, Guid, Text } kind;
  int64_t i = 0;
  uint64_t u = 0;
  GUID guid;
  std::u16string text;

  static Scalar Signed(int64_t v) { return Make(Kind::Signed, [&](Scalar& s) { s.i = v; }); }
  static Scalar Unsigned(uint64_t v) { return Make(Kind::Unsigned, [&](Scalar& s) { s.u = v; }); }
  static Scalar Bool(bool v) { return Make(Kind::Bool, [&](Scalar& s) { s.i = v ? 1 : 0; }); }
  static Scalar Guid(const GUID& v) { return Make(Kind::Guid, [&](Scalar& s) { s.guid = v; }); }
  static Scalar Text() { return Make(Kind::Text, [](Scalar&) {}); }

 private:
  template <typename Fill>
  static Scalar Make(Kind kind, Fill fill) {
    Scalar s;
    s.kind = kind;
    fill(s);
    return s;
  }
};

size_t ElementSize(uint32_t scalarType) {
  switch (scalarType) {
    case VXN_INT32: case VXN_UINT32: return 4;
    case VXN_UINT64: case VXN_INT64: return 8;
    case VXN_BOOL: return 1;
    case VXN_GUID: return 16;
    default: return 0;
  }
}

template <typename T>
T Load(const uint8_t* p) {
  T value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

template <typename T>
void Store(std::vector<uint8_t>& out, T value) {
  const auto* p = reinterpret_cast<const uint8_t*>(&value);
  out.insert(out.end(), p, p + sizeof value);
}

Scalar Decode(uint32_t type, const uint8_t* p, size_t textLength) {
  switch (type) {
    case VXN_INT32: return Scalar::Signed(Load<int32_t>(p));
    case VXN_INT64: return Scalar::Signed(Load<int64_t>(p));
    case VXN_UINT32: return Scalar::Unsigned(Load<uint32_t>(p));
    case VXN_UINT64: return Scalar::Unsigned(Load<uint64_t>(p));
    case VXN_BOOL: return Scalar::Bool(p[0] != 0);
    case VXN_GUID: return Scalar::Guid(Load<GUID>(p));
    default: {
      Scalar s = Scalar::Text();
      s.text.resize(textLength);
      if (textLength) std::memcpy(s.text.data(), p, textLength * sizeof(char16_t));
      return s;
    }
  }
}

std::optional<Scalar> ParseNumber(const std::u16string& text) {
  std::string ascii;
  for (char16_t c : text) {
    if (c > 0x7F) return std::nullopt;
    ascii += static_cast<char>(c);
  }
  const char* begin = ascii.data();
  const char* end = begin + ascii.size();
  if (begin != end && *begin == '+') ++begin;
  if (begin != end && *begin == '-') {
    int64_t value;
    auto [ptr, ec] = std::from_chars(begin, end, value);
    if (ec != std::errc() || ptr != end) return std::nullopt;
    return Scalar::Signed(value);
  }
  uint64_t value;
  auto [ptr, ec] = std::from_chars(begin, end, value);
  if (ec != std::errc() || ptr != end || begin == end) return std::nullopt;
  return Scalar::Unsigned(value);
}

std::optional<bool> ParseBool(const std::u16string& text) {
  std::u16string lower;
  for (char16_t c : text) lower += (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
  if (lower == u"true" || lower == u"1") return true;
  if (lower == u"false" || lower == u"0") return false;
  return std::nullopt;
}

// The value as a signed or unsigned integer; a signed one below zero sets `negative`.
std::optional<std::pair<uint64_t, bool>> AsInteger(const Scalar& s) {
  switch (s.kind) {
    case Scalar::Kind::Signed: return std::pair{static_cast<uint64_t>(s.i), s.i < 0};
    case Scalar::Kind::Unsigned: return std::pair{s.u, false};
    case Scalar::Kind::Bool: return std::pair{static_cast<uint64_t>(s.i), false};
    case Scalar::Kind::Text: {
      auto number = ParseNumber(s.text);
      if (!number) return std::nullopt;
      return AsInteger(*number);
    }
    default: return std::nullopt;
  }
}

template <typename T>
bool StoreInteger(const Scalar& s, std::vector<uint8_t>& out) {
  auto integer = AsInteger(s);
  if (!integer) return false;
  const auto [bits, negative] = *integer;
  if (negative) {
    const auto value = static_cast<int64_t>(bits);
    if (!std::is_signed_v<T> || value < static_cast<int64_t>(std::numeric_limits<T>::min())) return false;
  } else if (bits > static_cast<uint64_t>(std::numeric_limits<T>::max())) {
    return false;
  }
  Store(out, static_cast<T>(bits));
  return true;
}

std::u16string ToTextForm(const Scalar& s) {
  switch (s.kind) {
    case Scalar::Kind::Signed: return ToText(s.i);
    case Scalar::Kind::Unsigned: return ToTextUnsigned(s.u);
    case Scalar::Kind::Bool: return s.i ? u"true" : u"false";
    case Scalar::Kind::Guid: return FormatGuid(s.guid, 0);
    default: return s.text;
  }
}

// Appends `s` in the layout of `to`; strings get their terminator.
bool Encode(const Scalar& s, uint32_t to, std::vector<uint8_t>& out) {
  switch (to) {
    case VXN_INT32: return StoreInteger<int32_t>(s, out);
    case VXN_UINT32: return StoreInteger<uint32_t>(s, out);
    case VXN_INT64: return StoreInteger<int64_t>(s, out);
    case VXN_UINT64: return StoreInteger<uint64_t>(s, out);
    case VXN_BOOL: {
      std::optional<bool> value;
      if (s.kind == Scalar::Kind::Text) value = ParseBool(s.text);
      else if (s.kind != Scalar::Kind::Guid) value = s.kind == Scalar::Kind::Unsigned ? s.u != 0 : s.i != 0;
      if (!value) return false;
      out.push_back(*value ? 1 : 0);
      return true;
    }
    case VXN_GUID: {
      std::optional<GUID> value;
      if (s.kind == Scalar::Kind::Guid) value = s.guid;
      else if (s.kind == Scalar::Kind::Text) value = ParseGuid(s.text);
      if (!value) return false;
      Store(out, *value);
      return true;
    }
    case VXN_STRING: {
      const std::u16string text = ToTextForm(s) + u'\0';
      const auto* p = reinterpret_cast<const uint8_t*>(text.data());
      out.insert(out.end(), p, p + text.size() * sizeof(char16_t));
      return true;
    }
    default: return false;
  }
}

// Calls `each(pointer, textLength)` for every element of a list.
template <typename Each>
void ForEachElement(uint32_t scalarType, std::span<const uint8_t> data, Each each) {
  if (scalarType != VXN_STRING) {
    const size_t size = ElementSize(scalarType);
    for (size_t offset = 0; offset + size <= data.size(); offset += size) each(data.data() + offset, 0);
    return;
  }
  const size_t length = data.size() / sizeof(char16_t);
  if (length == 0) return;
  const auto* chars = reinterpret_cast<const char16_t*>(data.data());
  size_t start = 0;
  for (size_t i = 0; i + 1 < length; ++i) {
    if (chars[i] != 0) continue;
    each(data.data() + start * sizeof(char16_t), i - start);
    start = i + 1;
  }
}

}  // namespace

bool VxnIsValidLayout(uint32_t type, std::span<const uint8_t> data) {
  const uint32_t scalar = type & ~static_cast<uint32_t>(VXN_LIST);
  const bool list = (type & VXN_LIST) != 0;
  if (type == VXN_EMPTY) return data.empty();
  if (scalar != VXN_STRING) {
    const size_t size = ElementSize(scalar);
    return list ? data.size() % size == 0 : data.size() == size;
  }
  if (data.size() % 2) return false;
  const size_t length = data.size() / 2;
  if (!list) return length >= 1 && Load<char16_t>(data.data() + data.size() - 2) == 0;
  if (length == 0) return true;
  // Every string terminated, then one closing terminator.
  return length >= 2 && Load<char16_t>(data.data() + data.size() - 2) == 0 &&
         Load<char16_t>(data.data() + data.size() - 4) == 0;
}

HRESULT VxnConvertAttribute(uint32_t from, std::span<const uint8_t> data, uint32_t to,
                            std::vector<uint8_t>& out) {
  out.clear();
  if (from == to) {
    out.assign(data.begin(), data.end());
    return S_OK;
  }
  const bool fromList = (from & VXN_LIST) != 0;
  const bool toList = (to & VXN_LIST) != 0;
  if (from == VXN_EMPTY || to == VXN_EMPTY || fromList != toList || !VxnIsKnownType(to)) {
    return E_INVALID_DATA;
  }
  const uint32_t fromScalar = from & ~static_cast<uint32_t>(VXN_LIST);
  const uint32_t toScalar = to & ~static_cast<uint32_t>(VXN_LIST);
  if (!fromList) {
    const size_t textLength = data.size() / 2 - (fromScalar == VXN_STRING ? 1 : 0);
    return Encode(Decode(fromScalar, data.data(), textLength), toScalar, out) ? S_OK : E_INVALID_DATA;
  }
  bool ok = true;
  size_t count = 0;
  ForEachElement(fromScalar, data, [&](const uint8_t* p, size_t textLength) {
    ok = ok && Encode(Decode(fromScalar, p, textLength), toScalar, out);
    ++count;
  });
  if (!ok) return E_INVALID_DATA;
  if (toScalar == VXN_STRING && count) Store(out, char16_t(0));
  return S_OK;
}
