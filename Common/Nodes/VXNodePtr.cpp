#include "Common/Nodes/VXNodePtr.h"

#include <cstring>

#include "Common/ErrorHandling.h"

namespace {

// The library takes names, types and node values as terminated texts, so a
// U+0000 inside one would silently cut it; refuse it instead.
std::u16string Terminated(std::u16string_view text) {
  if (text.find(u'\0') != std::u16string_view::npos) {
    ThrowError(E_INVALIDARG, u": a name, type or node value cannot hold U+0000");
  }
  return std::u16string(text);
}

// Reads a text through one of the name, type or value getters: into a buffer
// of 128 characters on the stack first, then one of the size the library asks
// for.
template <typename Getter>
std::optional<std::u16string> ReadText(Getter getter, HVXNODE node) {
  char16_t local[128];
  uint32_t size = 128;
  HRESULT status = getter(node, local, &size);
  if (status == E_NOTFOUND) return std::nullopt;
  if (status != E_INSUFFICIENT_BUFFER) {
    Check(status);
    return std::u16string(local, size ? size - 1 : 0);
  }
  std::u16string buffer(size, u'\0');
  for (;;) {
    size = static_cast<uint32_t>(buffer.size());
    status = getter(node, buffer.data(), &size);
    if (status != E_INSUFFICIENT_BUFFER) break;
    buffer.resize(size);
  }
  if (status == E_NOTFOUND) return std::nullopt;
  Check(status);
  buffer.resize(size ? size - 1 : 0);
  return buffer;
}

[[noreturn]] void ThrowMissing(const VXNodePtr& node, std::u16string_view what,
                               std::u16string_view name) {
  ThrowError(E_NOTFOUND, u": " + std::u16string(what) + u" '" + std::u16string(name) +
                             u"' is missing on " + node.Describe());
}

[[noreturn]] void ThrowBadValue(HRESULT status, const VXNodePtr& node, std::u16string_view name) {
  ThrowError(status, u": attribute '" + std::u16string(name) + u"' on " + node.Describe() +
                         u" has no value of the type asked for");
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

VXNodePtr VXNodePtr::Create(std::u16string_view type, std::u16string_view name) {
  const std::u16string t(type), n(name);
  HVXNODE handle = nullptr;
  Check(VxnCreateNode(type.empty() ? nullptr : t.c_str(), name.empty() ? nullptr : n.c_str(),
                      &handle));
  return VXNodePtr(handle);
}

std::u16string VXNodePtr::GetName() const {
  return ReadText(VxnGetNodeName, handle_).value_or(u"");
}
std::u16string VXNodePtr::GetType() const {
  return ReadText(VxnGetNodeType, handle_).value_or(u"");
}
std::u16string VXNodePtr::GetValue() const {
  return ReadText(VxnGetNodeValue, handle_).value_or(u"");
}
bool VXNodePtr::HasValue() const { return ReadText(VxnGetNodeValue, handle_).has_value(); }

void VXNodePtr::SetName(std::u16string_view name) const {
  Check(VxnSetNodeName(handle_, Terminated(name).c_str()));
}
void VXNodePtr::SetType(std::u16string_view type) const {
  Check(VxnSetNodeType(handle_, Terminated(type).c_str()));
}
void VXNodePtr::SetValue(std::u16string_view value) const {
  Check(VxnSetNodeValue(handle_, Terminated(value).c_str()));
}

std::u16string VXNodePtr::Describe() const {
  if (!handle_) return u"<null node>";
  const std::u16string type = GetType();
  const std::u16string name = GetName();
  if (name.empty()) return type.empty() ? u"<node>" : u"node " + type;
  return (type.empty() ? u"node '" : u"node " + type + u" '") + name + u"'";
}

bool VXNodePtr::HasAttribute(std::u16string_view name) const {
  const HRESULT status =
      VxnGetAttribute(handle_, Terminated(name).c_str(), nullptr, nullptr, nullptr, 0);
  if (status == E_NOTFOUND) return false;
  Check(status);
  return true;
}

std::optional<uint32_t> VXNodePtr::GetAttributeType(std::u16string_view name) const {
  uint32_t type = VXN_EMPTY;
  uint32_t size = 0;
  const HRESULT status =
      VxnGetAttribute(handle_, Terminated(name).c_str(), &type, nullptr, &size, 0);
  if (status == E_NOTFOUND) return std::nullopt;
  Check(status);
  return type;
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

void VXNodePtr::DeleteAttribute(std::u16string_view name) const {
  const HRESULT status = VxnDeleteAttribute(handle_, Terminated(name).c_str(), 0);
  if (status != E_NOTFOUND) Check(status);
}

std::vector<uint8_t> VXNodePtr::GetRaw(std::u16string_view name, uint32_t& type) const {
  const std::u16string key = Terminated(name);
  std::vector<uint8_t> buffer(256);
  for (;;) {
    uint32_t size = static_cast<uint32_t>(buffer.size());
    uint32_t asked = type;
    const HRESULT status = VxnGetAttribute(handle_, key.c_str(), &asked, buffer.data(), &size, 0);
    if (status == E_INSUFFICIENT_BUFFER || (Succeeded(status) && size > buffer.size())) {
      buffer.resize(size);
      continue;
    }
    if (status == E_NOTFOUND) ThrowMissing(*this, u"attribute", name);
    if (status == E_INVALID_DATA) ThrowBadValue(status, *this, name);
    Check(status);
    buffer.resize(size);
    type = asked;
    return buffer;
  }
}

namespace {

// Reads a fixed-size value straight into place, converted to `type`.
template <typename T>
T ReadScalar(const VXNodePtr& node, std::u16string_view name, uint32_t type) {
  const std::u16string key = Terminated(name);
  T value{};
  uint32_t size = sizeof value;
  const HRESULT status = VxnGetAttribute(node.get(), key.c_str(), &type, &value, &size, 0);
  if (status == E_NOTFOUND) ThrowMissing(node, u"attribute", name);
  if (status == E_INVALID_DATA) ThrowBadValue(status, node, name);
  Check(status);
  return value;
}

std::u16string TextOf(const std::vector<uint8_t>& data) {
  const size_t length = data.size() / sizeof(char16_t);
  std::u16string text(length ? length - 1 : 0, u'\0');
  std::memcpy(text.data(), data.data(), text.size() * sizeof(char16_t));
  return text;
}

// Missing or of type 0: the caller's default applies.
bool Defaulted(const VXNodePtr& node, std::u16string_view name) {
  auto type = node.GetAttributeType(name);
  return !type || *type == VXN_EMPTY;
}

}  // namespace

std::u16string VXNodePtr::GetString(std::u16string_view name) const {
  // Most values are short: a stack buffer spares the heap.
  const std::u16string key = Terminated(name);
  char16_t local[128];
  uint32_t size = sizeof local;
  uint32_t type = VXN_STRING;
  const HRESULT status = VxnGetAttribute(handle_, key.c_str(), &type, local, &size, 0);
  if (Succeeded(status)) return std::u16string(local, size / sizeof(char16_t) - 1);
  if (status == E_NOTFOUND) ThrowMissing(*this, u"attribute", name);
  if (status == E_INVALID_DATA) ThrowBadValue(status, *this, name);
  if (status != E_INSUFFICIENT_BUFFER) Check(status);
  type = VXN_STRING;
  return TextOf(GetRaw(name, type));
}

bool VXNodePtr::TryGetString(std::u16string_view name, std::u16string& out) const {
  if (Defaulted(*this, name)) return false;
  out = GetString(name);
  return true;
}

std::u16string VXNodePtr::GetString(std::u16string_view name,
                                    std::u16string_view defaultValue) const {
  return Defaulted(*this, name) ? std::u16string(defaultValue) : GetString(name);
}

int32_t VXNodePtr::GetInt32(std::u16string_view name) const {
  return ReadScalar<int32_t>(*this, name, VXN_INT32);
}
int32_t VXNodePtr::GetInt32(std::u16string_view name, int32_t defaultValue) const {
  return Defaulted(*this, name) ? defaultValue : GetInt32(name);
}
uint32_t VXNodePtr::GetUInt32(std::u16string_view name) const {
  return ReadScalar<uint32_t>(*this, name, VXN_UINT32);
}
uint32_t VXNodePtr::GetUInt32(std::u16string_view name, uint32_t defaultValue) const {
  return Defaulted(*this, name) ? defaultValue : GetUInt32(name);
}
int64_t VXNodePtr::GetInt64(std::u16string_view name, int64_t defaultValue) const {
  return Defaulted(*this, name) ? defaultValue : ReadScalar<int64_t>(*this, name, VXN_INT64);
}
bool VXNodePtr::GetBool(std::u16string_view name) const {
  return ReadScalar<uint8_t>(*this, name, VXN_BOOL) != 0;
}
bool VXNodePtr::GetBool(std::u16string_view name, bool defaultValue) const {
  return Defaulted(*this, name) ? defaultValue : GetBool(name);
}
GUID VXNodePtr::GetGuid(std::u16string_view name) const {
  return ReadScalar<GUID>(*this, name, VXN_GUID);
}

void VXNodePtr::GetStringList(std::u16string_view name, bool required,
                              std::vector<std::u16string>& out) const {
  out.clear();
  if (!HasAttribute(name)) {
    if (required) ThrowMissing(*this, u"attribute", name);
    return;
  }
  uint32_t type = VXN_STRING_LIST;
  const std::vector<uint8_t> data = GetRaw(name, type);
  const auto* chars = reinterpret_cast<const char16_t*>(data.data());
  const size_t length = data.size() / sizeof(char16_t);
  for (size_t start = 0, i = 0; i + 1 < length; ++i) {
    if (chars[i] != 0) continue;
    out.emplace_back(chars + start, i - start);
    start = i + 1;
  }
}

std::vector<std::u16string> VXNodePtr::GetStringList(std::u16string_view name,
                                                     bool required) const {
  std::vector<std::u16string> out;
  GetStringList(name, required, out);
  return out;
}

void VXNodePtr::SetAttribute(std::u16string_view name, uint32_t type, const void* data,
                             uint32_t size) const {
  Check(VxnSetAttribute(handle_, Terminated(name).c_str(), type, data, size));
}

void VXNodePtr::SetString(std::u16string_view name, std::u16string_view value) const {
  const std::u16string text(value);
  SetAttribute(name, VXN_STRING, text.c_str(),
               static_cast<uint32_t>((text.size() + 1) * sizeof(char16_t)));
}
void VXNodePtr::SetInt32(std::u16string_view name, int32_t value) const {
  SetAttribute(name, VXN_INT32, &value, 4);
}
void VXNodePtr::SetUInt32(std::u16string_view name, uint32_t value) const {
  SetAttribute(name, VXN_UINT32, &value, 4);
}
void VXNodePtr::SetInt64(std::u16string_view name, int64_t value) const {
  SetAttribute(name, VXN_INT64, &value, 8);
}
void VXNodePtr::SetBool(std::u16string_view name, bool value) const {
  const uint8_t byte = value ? 1 : 0;
  SetAttribute(name, VXN_BOOL, &byte, 1);
}
void VXNodePtr::SetGuid(std::u16string_view name, const GUID& value) const {
  SetAttribute(name, VXN_GUID, &value, sizeof value);
}

void VXNodePtr::SetStringList(std::u16string_view name,
                              const std::vector<std::u16string>& values) const {
  std::u16string list;
  for (const auto& value : values) {
    // U+0000 ends an element in the list layout: it would split the value.
    if (value.find(u'\0') != std::u16string::npos) {
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

VXNodePtr VXNodePtr::GetChild(std::u16string_view name, bool required) const {
  HVXNODE child = nullptr;
  const HRESULT status = VxnGetChildByName(handle_, Terminated(name).c_str(), &child);
  if (status == E_NOTFOUND) {
    if (required) ThrowMissing(*this, u"child", name);
    return VXNodePtr();
  }
  Check(status);
  return VXNodePtr(child);
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

bool VXNodePtr::CompareAttribute(std::u16string_view name, const VXNodePtr& first,
                                 const VXNodePtr& second, uint32_t flags) {
  const auto firstType = first.GetAttributeType(name);
  const auto secondType = second.GetAttributeType(name);
  if (!firstType || !secondType) return !firstType && !secondType;
  if (*firstType != *secondType) return false;
  if ((flags & kCompareAsText) && *firstType == VXN_STRING)
    return first.GetString(name) == second.GetString(name);
  uint32_t type1 = *firstType, type2 = *secondType;
  return first.GetRaw(name, type1) == second.GetRaw(name, type2);
}
