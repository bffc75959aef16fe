#include "Common/Nodes/VxnApi.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/TextUnits.h"
#include "Common/Nodes/VxnAttributeConversion.h"
#include "Common/Nodes/VxnNode.h"
#include "Common/Nodes/VxnViewApi.h"

namespace {

void AddRef(VxnNode* node) { node->references.fetch_add(1, std::memory_order_relaxed); }

bool DropReference(VxnNode* node) {
  return node->references.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

// Frees without recursion: a host may build a tree of any depth.
void Release(VxnNode* node) {
  if (!DropReference(node)) return;
  std::vector<VxnNode*> dying{node};
  while (!dying.empty()) {
    VxnNode* current = dying.back();
    dying.pop_back();
    for (VxnNode* child : current->children) {
      child->parent = nullptr;
      if (DropReference(child)) dying.push_back(child);
    }
    delete current;
  }
}

std::optional<std::u16string> OptionalText(const char16_t* text) {
  if (!text) return std::nullopt;
  return std::u16string(text);
}

bool HoldsNul(std::u16string_view text) { return HasNulUnit(text); }

HRESULT ViewText(const std::optional<std::u16string>& text, std::u16string_view* view) {
  if (!view) return E_POINTER;
  if (!text) return E_NOTFOUND;
  *view = *text;
  return S_OK;
}

HRESULT SetText(std::optional<std::u16string>& text, std::u16string_view value) {
  if (HoldsNul(value)) return E_INVALIDARG;
  if (text) {
    text->assign(value);
  } else {
    text.emplace(value);
  }
  return S_OK;
}

// Stores into the attribute of that name, or into a new one last. `store`
// fills a VxnValue. A new attribute's value is made before the list grows:
// the value may be a view of another attribute of this node, which the
// growth can move.
template <typename Store>
HRESULT StoreAttribute(HVXNODE node, std::u16string_view name, uint32_t type, Store store) {
  if (VxnAttribute* found = node->attributes.Find(name)) {
    store(found->value);
    found->type = type;
    return S_OK;
  }
  // Stored names never hold U+0000, so only a new one needs the check.
  if (HoldsNul(name)) return E_INVALIDARG;
  VxnValue value;
  store(value);
  VxnAttribute& added = node->attributes.Add(name);
  added.type = type;
  added.value = std::move(value);
  return S_OK;
}

HRESULT GetText(const std::optional<std::u16string>& text, char16_t* buffer, uint32_t* size) {
  if (!size) return E_POINTER;
  if (!text) return E_NOTFOUND;
  const uint32_t needed = static_cast<uint32_t>(text->size() + 1);
  if (!buffer || *size < needed) {
    *size = needed;
    return E_INSUFFICIENT_BUFFER;
  }
  std::copy(text->begin(), text->end(), buffer);
  buffer[text->size()] = 0;
  *size = needed;
  return S_OK;
}

bool IsSelfOrAncestor(const VxnNode* candidate, const VxnNode* node) {
  // A node without children is nobody's ancestor; this keeps building a tree
  // from the top down linear in its depth.
  if (candidate->children.empty()) return candidate == node;
  for (; node; node = node->parent) {
    if (node == candidate) return true;
  }
  return false;
}

void Detach(VxnNode* parent, size_t index) {
  VxnNode* child = parent->children[index];
  parent->children.erase(parent->children.begin() + static_cast<ptrdiff_t>(index));
  child->parent = nullptr;
  Release(child);
}

VxnNode* CopyNode(const VxnNode& source) {
  auto* copy = new VxnNode;
  copy->type = source.type;
  copy->name = source.name;
  copy->value = source.value;
  copy->attributes = source.attributes;
  return copy;
}

struct PendingCopy {
  const VxnNode* source;
  VxnNode* copy;
  uint32_t levels;  // how many levels below `source` are still to copy
};

// Copies `levels` levels below `root` into `copy` without recursion, so a
// tree of any depth can be cloned. On failure `copy` holds what was done.
void CopyChildren(const VxnNode* root, VxnNode* copy, uint32_t levels) {
  if (levels == 0) return;
  std::vector<PendingCopy> pending{{root, copy, levels}};
  while (!pending.empty()) {
    const PendingCopy next = pending.back();
    pending.pop_back();
    next.copy->children.reserve(next.source->children.size());
    for (const VxnNode* child : next.source->children) {
      VxnNode* childCopy = CopyNode(*child);
      childCopy->parent = next.copy;
      next.copy->children.push_back(childCopy);
      if (next.levels > 1) pending.push_back({child, childCopy, next.levels - 1});
    }
  }
}

}  // namespace

bool VxnIsKnownType(uint32_t type) {
  switch (type & ~static_cast<uint32_t>(VXN_LIST)) {
    case VXN_STRING:
    case VXN_INT32:
    case VXN_UINT32:
    case VXN_UINT64:
    case VXN_INT64:
    case VXN_BOOL:
    case VXN_GUID:
      return true;
    case VXN_EMPTY:
      return type == VXN_EMPTY;
    default:
      return false;
  }
}

extern "C" {

HRESULT VxnCreateNode(const char16_t* type, const char16_t* name, HVXNODE* node) {
  if (!node) return E_POINTER;
  *node = new VxnNode;
  (*node)->type = OptionalText(type);
  (*node)->name = OptionalText(name);
  return S_OK;
}

HRESULT VxnCloseNodeHandle(HVXNODE node) {
  if (!node) return E_INVALIDARG;
  Release(node);
  return S_OK;
}

HRESULT VxnDuplicateNodeHandle(HVXNODE node, HVXNODE* duplicate) {
  if (!node || !duplicate) return E_INVALIDARG;
  AddRef(node);
  *duplicate = node;
  return S_OK;
}

HRESULT VxnCloneNode(HVXNODE node, uint32_t depth, uint32_t flags, HVXNODE* clone) {
  if (!node || !clone || flags != 0) return E_INVALIDARG;
  VxnNode* copy = nullptr;
  try {
    copy = CopyNode(*node);
    CopyChildren(node, copy, depth);
  } catch (const std::bad_alloc&) {
    if (copy) Release(copy);
    return E_OUTOFMEMORY;
  }
  *clone = copy;
  return S_OK;
}

HRESULT VxnGetNodeName(HVXNODE node, char16_t* buffer, uint32_t* size) {
  return node ? GetText(node->name, buffer, size) : E_INVALIDARG;
}

HRESULT VxnGetNodeType(HVXNODE node, char16_t* buffer, uint32_t* size) {
  return node ? GetText(node->type, buffer, size) : E_INVALIDARG;
}

HRESULT VxnGetNodeValue(HVXNODE node, char16_t* buffer, uint32_t* size) {
  return node ? GetText(node->value, buffer, size) : E_INVALIDARG;
}

HRESULT VxnSetNodeName(HVXNODE node, const char16_t* name) {
  if (!node) return E_INVALIDARG;
  node->name = OptionalText(name);
  return S_OK;
}

HRESULT VxnSetNodeType(HVXNODE node, const char16_t* type) {
  if (!node) return E_INVALIDARG;
  node->type = OptionalText(type);
  return S_OK;
}

HRESULT VxnSetNodeValue(HVXNODE node, const char16_t* value) {
  if (!node) return E_INVALIDARG;
  node->value = OptionalText(value);
  return S_OK;
}

HRESULT VxnGetParent(HVXNODE node, HVXNODE* parent) {
  if (!node || !parent) return E_INVALIDARG;
  if (!node->parent) return E_NOTFOUND;
  AddRef(node->parent);
  *parent = node->parent;
  return S_OK;
}

HRESULT VxnAddChild(HVXNODE parent, HVXNODE child) {
  if (!parent || !child || IsSelfOrAncestor(child, parent)) return E_INVALIDARG;
  AddRef(child);
  if (VxnNode* old = child->parent) {
    auto it = std::find(old->children.begin(), old->children.end(), child);
    Detach(old, static_cast<size_t>(it - old->children.begin()));
  }
  child->parent = parent;
  parent->children.push_back(child);
  return S_OK;
}

HRESULT VxnRemoveChild(HVXNODE parent, HVXNODE child) {
  if (!parent || !child) return E_INVALIDARG;
  auto it = std::find(parent->children.begin(), parent->children.end(), child);
  if (it == parent->children.end()) return E_NOTFOUND;
  Detach(parent, static_cast<size_t>(it - parent->children.begin()));
  return S_OK;
}

HRESULT VxnRemoveChildByIndex(HVXNODE parent, uint32_t index) {
  if (!parent) return E_INVALIDARG;
  if (index >= parent->children.size()) return E_NOTFOUND;
  Detach(parent, index);
  return S_OK;
}

HRESULT VxnGetChildCount(HVXNODE node, uint32_t* count) {
  if (!node || !count) return E_INVALIDARG;
  *count = static_cast<uint32_t>(node->children.size());
  return S_OK;
}

HRESULT VxnGetChildByIndex(HVXNODE node, uint32_t index, HVXNODE* child) {
  if (!node || !child) return E_INVALIDARG;
  if (index >= node->children.size()) return E_NOTFOUND;
  *child = node->children[index];
  AddRef(*child);
  return S_OK;
}

HRESULT VxnGetChildByName(HVXNODE node, const char16_t* name, HVXNODE* child) {
  return name ? VxnGetChildByNameN(node, name, child) : E_INVALIDARG;
}

HRESULT VxnGetAttribute(HVXNODE node, const char16_t* name, uint32_t* type, void* buffer,
                        uint32_t* size, uint32_t options) {
  return name ? VxnGetAttributeN(node, name, type, buffer, size, options) : E_INVALIDARG;
}

HRESULT VxnSetAttribute(HVXNODE node, const char16_t* name, uint32_t type, const void* data,
                        uint32_t size) {
  return name ? VxnSetAttributeN(node, name, type, data, size) : E_INVALIDARG;
}

HRESULT VxnDeleteAttribute(HVXNODE node, const char16_t* name, uint32_t options) {
  return name ? VxnDeleteAttributeN(node, name, options) : E_INVALIDARG;
}

HRESULT VxnGetAttributeNames(HVXNODE node, char16_t* buffer, uint32_t* size) {
  if (!node || !size) return E_INVALIDARG;
  size_t length = 1;
  for (const auto& attribute : node->attributes) length += attribute.name.size() + 1;
  std::u16string list;
  list.reserve(length);
  for (const auto& attribute : node->attributes) {
    list += attribute.name;
    list += u'\0';
  }
  if (!list.empty()) list += u'\0';
  const uint32_t needed = static_cast<uint32_t>(list.size() * sizeof(char16_t));
  if (!buffer || *size < needed) {
    *size = needed;
    return buffer || needed ? E_INSUFFICIENT_BUFFER : S_OK;
  }
  std::copy(list.begin(), list.end(), buffer);
  *size = needed;
  return S_OK;
}

}  // extern "C"

HRESULT VxnCreateNodeN(std::u16string_view type, std::u16string_view name, HVXNODE* node) {
  if (!node) return E_POINTER;
  if (HoldsNul(type) || HoldsNul(name)) return E_INVALIDARG;
  auto* created = new VxnNode;
  if (!type.empty()) created->type.emplace(type);
  if (!name.empty()) created->name.emplace(name);
  *node = created;
  return S_OK;
}

HRESULT VxnGetNodeNameN(HVXNODE node, std::u16string_view* name) {
  return node ? ViewText(node->name, name) : E_INVALIDARG;
}

HRESULT VxnGetNodeTypeN(HVXNODE node, std::u16string_view* type) {
  return node ? ViewText(node->type, type) : E_INVALIDARG;
}

HRESULT VxnGetNodeValueN(HVXNODE node, std::u16string_view* value) {
  return node ? ViewText(node->value, value) : E_INVALIDARG;
}

HRESULT VxnSetNodeNameN(HVXNODE node, std::u16string_view name) {
  return node ? SetText(node->name, name) : E_INVALIDARG;
}

HRESULT VxnSetNodeTypeN(HVXNODE node, std::u16string_view type) {
  return node ? SetText(node->type, type) : E_INVALIDARG;
}

HRESULT VxnSetNodeValueN(HVXNODE node, std::u16string_view value) {
  return node ? SetText(node->value, value) : E_INVALIDARG;
}

HRESULT VxnGetChildByNameN(HVXNODE node, std::u16string_view name, HVXNODE* child) {
  if (!node || !child) return E_INVALIDARG;
  for (VxnNode* candidate : node->children) {
    if (candidate->name && *candidate->name == name) {
      AddRef(candidate);
      *child = candidate;
      return S_OK;
    }
  }
  return E_NOTFOUND;
}

HRESULT VxnPeekAttributeN(HVXNODE node, std::u16string_view name, uint32_t* type,
                          std::span<const uint8_t>* data) {
  if (!node || !type || !data) return E_INVALIDARG;
  const VxnAttribute* attribute = node->attributes.Find(name);
  if (!attribute) return E_NOTFOUND;
  *type = attribute->type;
  *data = attribute->value.Bytes();
  return S_OK;
}

HRESULT VxnGetAttributeN(HVXNODE node, std::u16string_view name, uint32_t* type, void* buffer,
                         uint32_t* size, uint32_t) {
  if (!node) return E_INVALIDARG;
  const VxnAttribute* attribute = node->attributes.Find(name);
  if (!attribute) return E_NOTFOUND;
  std::span<const uint8_t> data = attribute->value.Bytes();
  if (!type && !buffer) {
    if (size) *size = static_cast<uint32_t>(data.size());
    return S_OK;
  }
  const uint32_t wanted = type && *type != VXN_EMPTY ? *type : attribute->type;
  std::vector<uint8_t> converted;
  if (wanted != attribute->type) {
    const HRESULT status = VxnConvertAttribute(attribute->type, data, wanted, converted);
    if (Failed(status)) return status;
    data = converted;
  }
  if (type) *type = wanted;
  if (!size) return buffer ? E_POINTER : S_OK;
  const uint32_t needed = static_cast<uint32_t>(data.size());
  if (!buffer) {
    *size = needed;
    return S_OK;
  }
  if (*size < needed) {
    *size = needed;
    return E_INSUFFICIENT_BUFFER;
  }
  if (needed) std::memcpy(buffer, data.data(), needed);
  *size = needed;
  return S_OK;
}

HRESULT VxnSetAttributeN(HVXNODE node, std::u16string_view name, uint32_t type, const void* data,
                         uint32_t size) {
  if (!node || (!data && size) || !VxnIsKnownType(type)) return E_INVALIDARG;
  const std::span<const uint8_t> value(static_cast<const uint8_t*>(data), size);
  if (!VxnIsValidLayout(type, value)) return E_INVALIDARG;
  return StoreAttribute(node, name, type, [&](VxnValue& stored) { stored.Assign(type, value); });
}

HRESULT VxnSetStringAttributeN(HVXNODE node, std::u16string_view name, std::u16string_view value) {
  if (!node) return E_INVALIDARG;
  return StoreAttribute(node, name, VXN_STRING, [&](VxnValue& stored) { stored.AssignText(value); });
}

HRESULT VxnTakeStringAttributeN(HVXNODE node, std::u16string_view name, std::u16string&& value) {
  if (!node) return E_INVALIDARG;
  return StoreAttribute(node, name, VXN_STRING,
                        [&](VxnValue& stored) { stored.AssignText(std::move(value)); });
}

HRESULT VxnDeleteAttributeN(HVXNODE node, std::u16string_view name, uint32_t) {
  if (!node) return E_INVALIDARG;
  return node->attributes.Erase(name) ? S_OK : E_NOTFOUND;
}
