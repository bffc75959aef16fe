#include "Common/Nodes/VxnAttributeList.h"

VxnAttributeList::VxnAttributeList(const VxnAttributeList& other) : entries_(other.entries_) {
  if (other.index_) index_ = std::make_unique<Index>(*other.index_);
}

VxnAttributeList& VxnAttributeList::operator=(const VxnAttributeList& other) {
  if (this != &other) *this = VxnAttributeList(other);
  return *this;
}

size_t VxnAttributeList::IndexedPosition(std::u16string_view name) const {
  const auto it = index_->find(name);
  return it == index_->end() ? entries_.size() : it->second;
}

VxnAttribute& VxnAttributeList::FindOrAdd(std::u16string_view name) {
  if (VxnAttribute* found = Find(name)) return *found;
  return Add(name);
}

VxnAttribute& VxnAttributeList::Add(std::u16string_view name) {
  // Most nodes get a handful of attributes: room for four spares the first
  // growth steps.
  if (entries_.empty()) entries_.reserve(4);
  entries_.push_back({std::u16string(name), 0, {}});
  if (index_) {
    index_->emplace(entries_.back().name, entries_.size() - 1);
  } else if (entries_.size() > kIndexThreshold) {
    Reindex();
  }
  return entries_.back();
}

bool VxnAttributeList::Erase(std::u16string_view name) {
  const size_t position = Position(name);
  if (position == entries_.size()) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(position));
  // The erase shifted every later position; rebuilding costs no more.
  Reindex();
  return true;
}

void VxnAttributeList::Reindex() {
  if (entries_.size() <= kIndexThreshold) {
    index_.reset();
    return;
  }
  auto index = std::make_unique<Index>();
  index->reserve(entries_.size());
  for (size_t i = 0; i < entries_.size(); ++i) index->emplace(entries_[i].name, i);
  index_ = std::move(index);
}
