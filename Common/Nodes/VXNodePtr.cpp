#include "Common/Nodes/VXNodePtr.h"

#include <algorithm>
#include <cstring>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/StringListView.h"
#include "Common/Nodes/VxnNode.h"
#include "Common/Nodes/VxnViewApi.h"
#include "Common/TextUnits.h"

namespace {

bool HoldsNul(std::u16string_view text) { return HasNulUnit(text); }

// Every failure of a call that named something goes through here, off the
// success path: U+0000 in the name (or text) gets its own words, since the
// library's terminated texts could not carry it; the rest raises the status.
[[noreturn, gnu::cold]] void Fail(HRESULT status, std::u16string_view text) {
  if (status == E_INVALIDARG && HoldsNul(text)) {
    ThrowError(E_INVALIDARG, u": a name, type or node value cannot hold U+0000");
  }
  ThrowStatus(status);
}

[[noreturn, gnu::cold]] void ThrowMissing(const VXNodePtr& node, std::u16string_view what,
                                          std::u16string_view name) {
  ThrowError(E_NOTFOUND, u": " + std::u16string(what) + u" '" + std::u16string(name) +
                             u"' is missing on " + node.Describe());
}

[[noreturn, gnu::cold]] void ThrowBadValue(HRESULT status, const VXNodePtr& node,
                                           std::u16string_view name) {
  ThrowError(status, u": attribute '" + std::u16string(name) + u"' on " + node.Describe() +
                         u" has no value of the type asked for");
}

// The node's name, type or value, or none when absent.
template <typename Getter>
std::optional<std::u16string_view> ViewText(Getter getter, HVXNODE node) {
  std::u16string_view text;
  const HRESULT status = getter(node, &text);
  if (status == S_OK) return text;
  if (status == E_NOTFOUND) return std::nullopt;
  ThrowStatus(status);
}

// A stored attribute, found by one look-up.
struct Stored {
  uint32_t type = VXN_EMPTY;
  std::span<const uint8_t> data;

  bool IsEmpty() const { return type == VXN_EMPTY; }
  std::u16string_view Text() const {  // a string's units without the terminator
    return {reinterpret_cast<const char16_t*>(data.data()), data.size() / sizeof(char16_t) - 1};
  }
};

// After a look-up that found nothing: a name holding U+0000 could never
// have been stored, and is refused rather than reported missing. A literal
// cannot hold one, so only other names are scanned.
void CheckUnfoundName(NodeName name) {
  if (!name.IsLiteral() && HoldsNul(name)) Fail(E_INVALIDARG, name);
}

// False when the attribute is missing; raises on any other failure.
// The look-up is VxnPeekAttributeN's, made here inline.
bool Peek(const VXNodePtr& node, NodeName name, Stored& out) {
  if (!node) Fail(E_INVALIDARG, name);
  const VxnAttribute* attribute = node.get()->attributes.Find(name);
  if (!attribute) {
    CheckUnfoundName(name);
    return false;
  }
  out.type = attribute->type;
  out.data = attribute->value.Bytes();
  return true;
}

Stored PeekRequired(const VXNodePtr& node, NodeName name) {
  Stored stored;
  if (!Peek(node, name, stored)) ThrowMissing(node, u"attribute", name);
  return stored;
}

// Reads the attribute converted to `type` into `buffer`; the slow path of
// the readers, for values of another type than the one asked for.
HRESULT ReadConverted(const VXNodePtr& node, std::u16string_view name, uint32_t type, void* buffer,
                      uint32_t& size) {
  return VxnGetAttributeN(node.get(), name, &type, buffer, &size, 0);
}

void CheckRead(HRESULT status, const VXNodePtr& node, std::u16string_view name) {
  if (Succeeded(status)) return;
  if (status == E_NOTFOUND) ThrowMissing(node, u"attribute", name);
  if (status == E_INVALID_DATA) ThrowBadValue(status, node, name);
  Fail(status, name);
}

// A fixed-size value of `type`: straight from the stored bytes when the
// attribute has that type, else converted by the library.
template <typename T>
T Scalar(const VXNodePtr& node, std::u16string_view name, const Stored& stored, uint32_t type) {
  T value{};
  if (stored.type == type && stored.data.size() == sizeof value) {
    std::memcpy(&value, stored.data.data(), sizeof value);
    return value;
  }
  uint32_t size = sizeof value;
  CheckRead(ReadConverted(node, name, type, &value, size), node, name);
  return value;
}

template <typename T>
T RequiredScalar(const VXNodePtr& node, NodeName name, uint32_t type) {
  return Scalar<T>(node, name, PeekRequired(node, name), type);
}

// Missing or of type 0: the caller's default applies.
template <typename T>
T ScalarOr(const VXNodePtr& node, NodeName name, uint32_t type, T defaultValue) {
  Stored stored;
  if (!Peek(node, name, stored) || stored.IsEmpty()) return defaultValue;
  return Scalar<T>(node, name, stored, type);
}

std::u16string TextOf(const std::vector<uint8_t>& data) {
  const size_t length = data.size() / sizeof(char16_t);
  std::u16string text(length ? length - 1 : 0, u'\0');
  std::memcpy(text.data(), data.data(), text.size() * sizeof(char16_t));
  return text;
}

// The text of a stored value: itself for a string, else converted.
AttributeText TextFrom(const VXNodePtr& node, std::u16string_view name, const Stored& stored) {
  if (stored.type == VXN_STRING) return AttributeText(stored.Text());
  uint32_t type = VXN_STRING;
  return AttributeText(TextOf(node.GetRaw(name, type)));
}

}  // namespace

VXNodePtr::VXNodePtr(const VXNodePtr& other) {
  if (other.handle_) Check(VxnDuplicateNodeHandle(other.handle_, &handle_));
}

VXNodePtr& VXNodePtr::operator=(const VXNodePtr& other) {
  if (this != &other) *this = VXNodePtr(other);
  return *this;
}

VXNodePtr& VXNodePtr::operator=(VXNodePtr&& other) noexcept {
  if (this != &other) {
    if (handle_) VxnCloseNodeHandle(handle_);
    handle_ = other.Detach();
  }
  return *this;
}

VXNodePtr::~VXNodePtr() {
  if (handle_) VxnCloseNodeHandle(handle_);
}

VXNodePtr VXNodePtr::Create(NodeName type, NodeName name) {
  HVXNODE handle = nullptr;
  const HRESULT status = VxnCreateNodeN(type, name, &handle);
  if (Failed(status)) Fail(status, HoldsNul(type) ? type : name);
  return VXNodePtr(handle);
}

std::u16string VXNodePtr::GetName() const { return std::u16string(NameView()); }
std::u16string VXNodePtr::GetType() const { return std::u16string(TypeView()); }
std::u16string VXNodePtr::GetValue() const {
  return std::u16string(ViewText(VxnGetNodeValueN, handle_).value_or(u""));
}
std::u16string_view VXNodePtr::NameView() const {
  return ViewText(VxnGetNodeNameN, handle_).value_or(u"");
}
std::u16string_view VXNodePtr::TypeView() const {
  if (!handle_) ThrowStatus(E_INVALIDARG);
  return handle_->type ? std::u16string_view(*handle_->type) : std::u16string_view();
}
bool VXNodePtr::HasValue() const { return ViewText(VxnGetNodeValueN, handle_).has_value(); }

void VXNodePtr::SetName(NodeName name) const {
  if (const HRESULT status = VxnSetNodeNameN(handle_, name); Failed(status)) Fail(status, name);
}
void VXNodePtr::SetType(NodeName type) const {
  if (const HRESULT status = VxnSetNodeTypeN(handle_, type); Failed(status)) Fail(status, type);
}
void VXNodePtr::SetValue(std::u16string_view value) const {
  if (const HRESULT status = VxnSetNodeValueN(handle_, value); Failed(status)) Fail(status, value);
}

std::u16string VXNodePtr::Describe() const {
  if (!handle_) return u"<null node>";
  const std::u16string type = GetType();
  const std::u16string name = GetName();
  if (name.empty()) return type.empty() ? u"<node>" : u"node " + type;
  return (type.empty() ? u"node '" : u"node " + type + u" '") + name + u"'";
}

bool VXNodePtr::HasAttribute(NodeName name) const {
  Stored stored;
  return Peek(*this, name, stored);
}

std::optional<uint32_t> VXNodePtr::GetAttributeType(NodeName name) const {
  Stored stored;
  if (!Peek(*this, name, stored)) return std::nullopt;
  return stored.type;
}

std::vector<std::u16string> VXNodePtr::AttributeNames() const {
  uint32_t size = 0;
  HRESULT status = VxnGetAttributeNames(handle_, nullptr, &size);
  std::u16string buffer(size / sizeof(char16_t), u'\0');
  if (status == E_INSUFFICIENT_BUFFER) status = VxnGetAttributeNames(handle_, buffer.data(), &size);
  Check(status);
  std::vector<std::u16string> names;
  for (size_t start = 0; start + 1 < buffer.size();) {
    const size_t end = buffer.find(u'\0', start);
    names.push_back(buffer.substr(start, end - start));
    start = end + 1;
  }
  return names;
}

void VXNodePtr::DeleteAttribute(NodeName name) const {
  const HRESULT status = VxnDeleteAttributeN(handle_, name, 0);
  if (status == E_NOTFOUND) return CheckUnfoundName(name);
  if (Failed(status)) Fail(status, name);
}

std::optional<std::span<const uint8_t>> VXNodePtr::PeekRaw(NodeName name, uint32_t& type) const {
  Stored stored;
  if (!Peek(*this, name, stored)) return std::nullopt;
  type = stored.type;
  return stored.data;
}

std::vector<uint8_t> VXNodePtr::GetRaw(NodeName name, uint32_t& type) const {
  const Stored stored = PeekRequired(*this, name);
  if (type == VXN_EMPTY || type == stored.type) {
    type = stored.type;
    return std::vector<uint8_t>(stored.data.begin(), stored.data.end());
  }
  std::vector<uint8_t> buffer(256);
  for (;;) {
    uint32_t size = static_cast<uint32_t>(buffer.size());
    const HRESULT status = ReadConverted(*this, name, type, buffer.data(), size);
    if (status == E_INSUFFICIENT_BUFFER || (Succeeded(status) && size > buffer.size())) {
      buffer.resize(size);
      continue;
    }
    CheckRead(status, *this, name);
    buffer.resize(size);
    return buffer;
  }
}

std::u16string VXNodePtr::GetString(NodeName name) const { return GetStringView(name).str(); }

bool VXNodePtr::TryGetString(NodeName name, std::u16string& out) const {
  Stored stored;
  if (!Peek(*this, name, stored) || stored.IsEmpty()) return false;
  if (stored.type == VXN_STRING) {
    out.assign(stored.Text());
  } else {
    out = TextFrom(*this, name, stored).str();
  }
  return true;
}

std::u16string VXNodePtr::GetString(NodeName name, std::u16string_view defaultValue) const {
  return GetStringView(name, defaultValue).str();
}

void VXNodePtr::PeekAttributes(std::span<Peeked> attributes) const {
  if (!handle_) ThrowStatus(E_INVALIDARG);
  const VxnAttributeList& stored = handle_->attributes;
  if (stored.size() > VxnAttributeList::kIndexThreshold) {
    // An indexed node: a look-up each is cheaper than a pass.
    for (Peeked& attribute : attributes) {
      const VxnAttribute* found = stored.Find(attribute.name);
      attribute.found = found != nullptr;
      if (found) attribute.type = found->type, attribute.data = found->value.Bytes();
    }
  } else {
    for (Peeked& attribute : attributes) attribute.found = false;
    for (const VxnAttribute& candidate : stored) {
      for (Peeked& attribute : attributes) {
        if (attribute.found || !EqualUnits(candidate.name, attribute.name)) continue;
        attribute.found = true;
        attribute.type = candidate.type;
        attribute.data = candidate.value.Bytes();
        break;
      }
    }
  }
  for (const Peeked& attribute : attributes) {
    if (!attribute.found && !attribute.name.IsLiteral()) CheckUnfoundName(attribute.name);
  }
}

std::optional<AttributeText> VXNodePtr::FindStringConverted(const Peeked& attribute) const {
  if (!attribute.found || attribute.type == VXN_EMPTY) return std::nullopt;
  return TextFrom(*this, attribute.name, {attribute.type, attribute.data});
}

AttributeText VXNodePtr::GetStringViewConverted(const Peeked& attribute) const {
  if (!attribute.found) ThrowMissing(*this, u"attribute", attribute.name);
  return TextFrom(*this, attribute.name, {attribute.type, attribute.data});
}

bool VXNodePtr::GetBoolConverted(const Peeked& attribute) const {
  return Scalar<uint8_t>(*this, attribute.name, {attribute.type, attribute.data}, VXN_BOOL) != 0;
}

std::optional<AttributeText> VXNodePtr::FindString(NodeName name) const {
  Stored stored;
  if (!Peek(*this, name, stored) || stored.IsEmpty()) return std::nullopt;
  return TextFrom(*this, name, stored);
}

AttributeText VXNodePtr::GetStringView(NodeName name) const {
  return TextFrom(*this, name, PeekRequired(*this, name));
}

AttributeText VXNodePtr::GetStringView(NodeName name, std::u16string_view defaultValue) const {
  Stored stored;
  if (!Peek(*this, name, stored) || stored.IsEmpty()) return AttributeText(defaultValue);
  return TextFrom(*this, name, stored);
}

int32_t VXNodePtr::GetInt32(NodeName name) const {
  return RequiredScalar<int32_t>(*this, name, VXN_INT32);
}
int32_t VXNodePtr::GetInt32(NodeName name, int32_t defaultValue) const {
  return ScalarOr<int32_t>(*this, name, VXN_INT32, defaultValue);
}
uint32_t VXNodePtr::GetUInt32(NodeName name) const {
  return RequiredScalar<uint32_t>(*this, name, VXN_UINT32);
}
uint32_t VXNodePtr::GetUInt32(NodeName name, uint32_t defaultValue) const {
  return ScalarOr<uint32_t>(*this, name, VXN_UINT32, defaultValue);
}
int64_t VXNodePtr::GetInt64(NodeName name, int64_t defaultValue) const {
  return ScalarOr<int64_t>(*this, name, VXN_INT64, defaultValue);
}
uint64_t VXNodePtr::GetUInt64(NodeName name) const {
  return RequiredScalar<uint64_t>(*this, name, VXN_UINT64);
}
bool VXNodePtr::GetBool(NodeName name) const {
  return RequiredScalar<uint8_t>(*this, name, VXN_BOOL) != 0;
}
bool VXNodePtr::GetBool(NodeName name, bool defaultValue) const {
  return ScalarOr<uint8_t>(*this, name, VXN_BOOL, defaultValue ? 1 : 0) != 0;
}
GUID VXNodePtr::GetGuid(NodeName name) const { return RequiredScalar<GUID>(*this, name, VXN_GUID); }

void VXNodePtr::GetStringList(NodeName name, bool required,
                              std::vector<std::u16string>& out) const {
  out.clear();
  Stored stored;
  if (!Peek(*this, name, stored)) {
    if (required) ThrowMissing(*this, u"attribute", name);
    return;
  }
  std::vector<uint8_t> converted;
  if (stored.type != VXN_STRING_LIST) {
    uint32_t type = VXN_STRING_LIST;
    converted = GetRaw(name, type);
    stored.data = converted;
  }
  StringListView(stored.data).ForEach([&](std::u16string_view value) { out.emplace_back(value); });
}

std::vector<std::u16string> VXNodePtr::GetStringList(NodeName name, bool required) const {
  std::vector<std::u16string> out;
  GetStringList(name, required, out);
  return out;
}

void VXNodePtr::SetAttribute(NodeName name, uint32_t type, const void* data, uint32_t size) const {
  const HRESULT status = VxnSetAttributeN(handle_, name, type, data, size);
  if (Failed(status)) Fail(status, name);
}

void VXNodePtr::SetString(NodeName name, std::u16string_view value) const {
  const HRESULT status = VxnSetStringAttributeN(handle_, name, value);
  if (Failed(status)) Fail(status, name);
}
void VXNodePtr::TakeString(NodeName name, std::u16string&& value) const {
  const HRESULT status = VxnTakeStringAttributeN(handle_, name, std::move(value));
  if (Failed(status)) Fail(status, name);
}
void VXNodePtr::SetInt32(NodeName name, int32_t value) const {
  SetAttribute(name, VXN_INT32, &value, 4);
}
void VXNodePtr::SetUInt32(NodeName name, uint32_t value) const {
  SetAttribute(name, VXN_UINT32, &value, 4);
}
void VXNodePtr::SetInt64(NodeName name, int64_t value) const {
  SetAttribute(name, VXN_INT64, &value, 8);
}
void VXNodePtr::SetBool(NodeName name, bool value) const {
  const uint8_t byte = value ? 1 : 0;
  SetAttribute(name, VXN_BOOL, &byte, 1);
}
void VXNodePtr::SetGuid(NodeName name, const GUID& value) const {
  SetAttribute(name, VXN_GUID, &value, sizeof value);
}

void VXNodePtr::SetStringList(NodeName name, const std::vector<std::u16string>& values) const {
  size_t size = values.empty() ? 0 : 1;
  for (const auto& value : values) size += value.size() + 1;
  std::u16string list;
  list.reserve(size);
  for (const auto& value : values) {
    // U+0000 ends an element in the list layout: it would split the value.
    if (HoldsNul(value)) {
      ThrowError(E_INVALIDARG,
                 u": an element of string list '" + std::u16string(name) + u"' holds U+0000");
    }
    list += value;
    list += u'\0';
  }
  if (!values.empty()) list += u'\0';
  SetAttribute(name, VXN_STRING_LIST, list.empty() ? nullptr : list.data(),
               static_cast<uint32_t>(list.size() * sizeof(char16_t)));
}

VXNodePtr VXNodePtr::GetChild(NodeName name, bool required) const {
  HVXNODE child = nullptr;
  const HRESULT status = VxnGetChildByNameN(handle_, name, &child);
  if (status == S_OK) [[likely]]
    return VXNodePtr(child);
  if (status != E_NOTFOUND) Fail(status, name);
  CheckUnfoundName(name);
  if (required) ThrowMissing(*this, u"child", name);
  return VXNodePtr();
}

uint32_t VXNodePtr::ChildCount() const {
  uint32_t count = 0;
  Check(VxnGetChildCount(handle_, &count));
  return count;
}

VXNodePtr VXNodePtr::ChildAt(uint32_t index) const {
  HVXNODE child = nullptr;
  Check(VxnGetChildByIndex(handle_, index, &child));
  return VXNodePtr(child);
}

VXNodePtr VXNodePtr::Parent() const {
  HVXNODE parent = nullptr;
  const HRESULT status = VxnGetParent(handle_, &parent);
  if (status == E_NOTFOUND) return VXNodePtr();
  Check(status);
  return VXNodePtr(parent);
}

void VXNodePtr::AddChild(const VXNodePtr& child) const {
  Check(VxnAddChild(handle_, child.handle_));
}
void VXNodePtr::RemoveChild(const VXNodePtr& child) const {
  Check(VxnRemoveChild(handle_, child.handle_));
}

VXNodePtr VXNodePtr::Clone(uint32_t depth) const {
  HVXNODE clone = nullptr;
  Check(VxnCloneNode(handle_, depth, 0, &clone));
  return VXNodePtr(clone);
}

void VXNodePtr::ForEachChild(const std::function<void(const VXNodePtr&)>& function) const {
  const uint32_t count = ChildCount();
  for (uint32_t i = 0; i < count; ++i) function(ChildAt(i));
}

bool VXNodePtr::CompareAttribute(NodeName name, const VXNodePtr& first, const VXNodePtr& second,
                                 uint32_t flags) {
  Stored a, b;
  const bool inFirst = Peek(first, name, a);
  const bool inSecond = Peek(second, name, b);
  if (!inFirst || !inSecond) return !inFirst && !inSecond;
  if (a.type != b.type) return false;
  if ((flags & kCompareAsText) && a.type == VXN_STRING) return a.Text() == b.Text();
  return std::ranges::equal(a.data, b.data);
}
