#pragma once

// The attributes of one node, for the node library: kept in insertion order,
// found by name.
//
// Nearly every node holds a handful of attributes, so up to kIndexThreshold
// of them a look-up scans the list and nothing else is allocated. Past that
// a hash index from name to position is built once and kept up to date, so
// look-up and insertion are O(1) amortised however many attributes a node
// gets (a generated request may carry 100,000). Removal is linear: the later
// positions shift.
//
// Not thread-safe, like the node that holds it.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Common/Nodes/VxnValue.h"
#include "Common/TextUnits.h"

struct VxnAttribute {
  std::u16string name;
  uint32_t type = 0;  // VXN_EMPTY
  VxnValue value;     // in the layout of its type code
};

class VxnAttributeList {
 public:
  static constexpr size_t kIndexThreshold = 8;

  VxnAttributeList() = default;
  VxnAttributeList(const VxnAttributeList& other);
  VxnAttributeList& operator=(const VxnAttributeList& other);
  VxnAttributeList(VxnAttributeList&&) noexcept = default;
  VxnAttributeList& operator=(VxnAttributeList&&) noexcept = default;
  ~VxnAttributeList() = default;

  // Null when there is no attribute of that name. Inline: every read of an
  // attribute comes through here.
  const VxnAttribute* Find(std::u16string_view name) const {
    const size_t position = Position(name);
    return position < entries_.size() ? &entries_[position] : nullptr;
  }
  VxnAttribute* Find(std::u16string_view name) {
    const size_t position = Position(name);
    return position < entries_.size() ? &entries_[position] : nullptr;
  }
  // The attribute of that name; a missing one is added last, with type 0.
  VxnAttribute& FindOrAdd(std::u16string_view name);
  // Adds an attribute the list does not hold, last, with type 0.
  VxnAttribute& Add(std::u16string_view name);
  // False when there is no attribute of that name.
  bool Erase(std::u16string_view name);

  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  std::vector<VxnAttribute>::const_iterator begin() const { return entries_.begin(); }
  std::vector<VxnAttribute>::const_iterator end() const { return entries_.end(); }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::u16string_view text) const {
      return std::hash<std::u16string_view>()(text);
    }
  };
  using Index = std::unordered_map<std::u16string, size_t, Hash, std::equal_to<>>;

  // size() when missing.
  size_t Position(std::u16string_view name) const {
    if (index_) return IndexedPosition(name);
    const VxnAttribute* const first = entries_.data();
    const VxnAttribute* const end = first + entries_.size();
    for (const VxnAttribute* entry = first; entry != end; ++entry) {
      if (EqualUnits(entry->name, name)) {
        return static_cast<size_t>(entry - first);
      }
    }
    return entries_.size();
  }
  size_t IndexedPosition(std::u16string_view name) const;
  void Reindex();

  std::vector<VxnAttribute> entries_;
  std::unique_ptr<Index> index_;  // set while size() > kIndexThreshold
};
