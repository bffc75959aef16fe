#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Guid.h"
#include "Common/Nodes/AttributeText.h"
#include "Common/Nodes/NodeName.h"
#include "Common/Nodes/VxnApi.h"

// The owning handle of one node. Copying duplicates the handle, destruction
// closes it; a null handle is a valid value meaning "no node".
//
// Typed readers and writers raise HRX with the node library's status on any
// failure other than those named. A missing required attribute or child
// raises 0x80070490 with a text that names it and the node. Readers with a
// default give the default when the attribute is missing or has type 0.
//
// Names go to the library as views (VxnViewApi.h): looking one up copies
// nothing and allocates nothing, and a reader looks its name up once. Names,
// node types and node values are terminated texts in the library, so one
// that holds U+0000 raises 0x80070057 rather than being cut short; so does an
// element of a string list (U+0000 ends an element there). A string
// attribute's value may hold U+0000.
//
// The ...View and FindString readers hand out views of what the node stores,
// without a copy; such a view is valid while that part of the node (its
// name, its type, its attributes) is unchanged and the node lives.
//
// Not thread-safe: like the tree it points into, one thread at a time.
class VXNodePtr {
 public:
  VXNodePtr() = default;
  // Takes ownership of `handle`.
  explicit VXNodePtr(HVXNODE handle) : handle_(handle) {}
  VXNodePtr(const VXNodePtr& other);
  VXNodePtr(VXNodePtr&& other) noexcept : handle_(other.Detach()) {}
  VXNodePtr& operator=(const VXNodePtr& other);
  VXNodePtr& operator=(VXNodePtr&& other) noexcept;
  ~VXNodePtr();

  // A new node without parent; an empty type or name is left absent.
  static VXNodePtr Create(NodeName type, NodeName name = std::u16string_view());

  HVXNODE get() const { return handle_; }
  HVXNODE Detach() { return std::exchange(handle_, nullptr); }
  explicit operator bool() const { return handle_ != nullptr; }
  bool IsNull() const { return handle_ == nullptr; }

  // Empty when absent.
  std::u16string GetName() const;
  std::u16string GetType() const;
  std::u16string GetValue() const;
  // The same as views, valid while the name or type is unchanged.
  std::u16string_view NameView() const;
  std::u16string_view TypeView() const;
  bool HasValue() const;
  void SetName(NodeName name) const;
  void SetType(NodeName type) const;
  void SetValue(std::u16string_view value) const;

  // "<type>" or "<type> '<name>'" or "'<name>'", for messages.
  std::u16string Describe() const;

  bool HasAttribute(NodeName name) const;
  // The stored type code, or none when the attribute is missing.
  std::optional<uint32_t> GetAttributeType(NodeName name) const;
  std::vector<std::u16string> AttributeNames() const;
  void DeleteAttribute(NodeName name) const;

  std::u16string GetString(NodeName name) const;  // required
  // False, `out` untouched, when missing or of type 0.
  bool TryGetString(NodeName name, std::u16string& out) const;
  std::u16string GetString(NodeName name, std::u16string_view defaultValue) const;
  // The same readers without a copy of a stored string (see AttributeText):
  // FindString gives none when missing or of type 0, GetStringView raises
  // 0x80070490 when missing, or gives `defaultValue` (the caller's text, not
  // copied) when missing or of type 0.
  std::optional<AttributeText> FindString(NodeName name) const;
  AttributeText GetStringView(NodeName name) const;
  AttributeText GetStringView(NodeName name, std::u16string_view defaultValue) const;
  int32_t GetInt32(NodeName name) const;  // required
  int32_t GetInt32(NodeName name, int32_t defaultValue) const;
  uint32_t GetUInt32(NodeName name) const;  // required
  uint32_t GetUInt32(NodeName name, uint32_t defaultValue) const;
  int64_t GetInt64(NodeName name, int64_t defaultValue) const;
  uint64_t GetUInt64(NodeName name) const;  // required
  bool GetBool(NodeName name) const;  // required
  bool GetBool(NodeName name, bool defaultValue) const;
  GUID GetGuid(NodeName name) const;  // required
  // A list of any element type, converted to text; missing gives an empty
  // list, or raises 0x80070490 when `required`.
  void GetStringList(NodeName name, bool required, std::vector<std::u16string>& out) const;
  std::vector<std::u16string> GetStringList(NodeName name, bool required) const;

  void SetString(NodeName name, std::u16string_view value) const;
  // Sets a string attribute to `value` without copying it: the node takes the
  // text's memory over (a finished SQL text, for one).
  void TakeString(NodeName name, std::u16string&& value) const;
  void SetInt32(NodeName name, int32_t value) const;
  void SetUInt32(NodeName name, uint32_t value) const;
  void SetInt64(NodeName name, int64_t value) const;
  void SetBool(NodeName name, bool value) const;
  void SetGuid(NodeName name, const GUID& value) const;
  void SetStringList(NodeName name, const std::vector<std::u16string>& values) const;
  // Raw access in the library's layout.
  void SetAttribute(NodeName name, uint32_t type, const void* data, uint32_t size) const;
  // An attribute looked up ahead of its reading by PeekAttributes: its name,
  // and whether it was found, with its stored type code and value.
  struct Peeked {
    Peeked(NodeName name) : name(name) {}  // NOLINT: a list of names reads as one
    NodeName name;
    bool found = false;
    uint32_t type = VXN_EMPTY;
    std::span<const uint8_t> data;
  };
  // Looks up every name of `attributes` in one pass over the node's
  // attributes, for code that reads several names of each of many nodes (a
  // large condition tree). What it finds is valid while the node's
  // attributes are unchanged, and is read by the overloads below, which give
  // what the readers of the same name give, failures included.
  void PeekAttributes(std::span<Peeked> attributes) const;
  // Inline for the usual case, a stored value of the type asked for.
  std::optional<AttributeText> FindString(const Peeked& attribute) const {
    if (attribute.found && attribute.type == VXN_STRING) return AttributeText(TextOf(attribute));
    return FindStringConverted(attribute);
  }
  AttributeText GetStringView(const Peeked& attribute) const {
    if (attribute.found && attribute.type == VXN_STRING) return AttributeText(TextOf(attribute));
    return GetStringViewConverted(attribute);
  }
  AttributeText GetStringView(const Peeked& attribute, std::u16string_view defaultValue) const {
    if (attribute.found && attribute.type == VXN_STRING) return AttributeText(TextOf(attribute));
    if (!attribute.found || attribute.type == VXN_EMPTY) return AttributeText(defaultValue);
    return GetStringViewConverted(attribute);
  }
  bool GetBool(const Peeked& attribute, bool defaultValue) const {
    if (!attribute.found || attribute.type == VXN_EMPTY) return defaultValue;
    if (attribute.type == VXN_BOOL && attribute.data.size() == 1) return attribute.data[0] != 0;
    return GetBoolConverted(attribute);
  }

  // The value in the library's layout, converted to `type` unless 0.
  std::vector<uint8_t> GetRaw(NodeName name, uint32_t& type) const;
  // The stored value in the library's layout, without a copy or a
  // conversion, and its type code; none when missing. Valid while the
  // node's attributes are unchanged.
  std::optional<std::span<const uint8_t>> PeekRaw(NodeName name, uint32_t& type) const;

  // The first child with that node name: null when missing and not
  // `required`; with `required`, a missing child raises 0x80070490.
  VXNodePtr GetChild(NodeName name, bool required = false) const;
  uint32_t ChildCount() const;
  VXNodePtr ChildAt(uint32_t index) const;
  VXNodePtr Parent() const;  // null at the root
  void AddChild(const VXNodePtr& child) const;
  void RemoveChild(const VXNodePtr& child) const;
  static constexpr uint32_t kWholeTree = 0x7fffffff;
  VXNodePtr Clone(uint32_t depth = kWholeTree) const;

  // Walks the children by index, from 0 to the count read once at the start.
  void ForEachChild(const std::function<void(const VXNodePtr&)>& function) const;

  // Flag of CompareAttribute: compare strings as text, not as stored bytes.
  static constexpr uint32_t kCompareAsText = 32;
  // True if both nodes hold the attribute with equal type and value, or if
  // neither holds it.
  static bool CompareAttribute(NodeName name, const VXNodePtr& first, const VXNodePtr& second,
                               uint32_t flags);

 private:
  // A stored string's units, without the terminator.
  static std::u16string_view TextOf(const Peeked& attribute) {
    return {reinterpret_cast<const char16_t*>(attribute.data.data()),
            attribute.data.size() / sizeof(char16_t) - 1};
  }
  // The other cases of the readers over a Peeked: missing, type 0, or a
  // value to convert.
  std::optional<AttributeText> FindStringConverted(const Peeked& attribute) const;
  AttributeText GetStringViewConverted(const Peeked& attribute) const;
  bool GetBoolConverted(const Peeked& attribute) const;

  HVXNODE handle_ = nullptr;
};
