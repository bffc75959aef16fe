#include "QueriesProcessing/Membership/MemberSet.h"

#include <algorithm>
#include <utility>

namespace QueriesProcessing {

namespace {

// 128 KiB a block: few allocations, little left unused. A name longer than a
// quarter of that gets a block of its own.
constexpr size_t kBlockUnits = 64 * 1024;
constexpr size_t kOwnBlockUnits = kBlockUnits / 4;

}  // namespace

MemberSet::MemberSet(std::initializer_list<std::u16string_view> names) {
  reserve(names.size());
  for (const std::u16string_view name : names) insert(name);
}

MemberSet::MemberSet(const MemberSet& other) { merge(other); }

MemberSet::MemberSet(MemberSet&& other) noexcept
    : blocks_(std::move(other.blocks_)),
      free_(std::exchange(other.free_, nullptr)),
      left_(std::exchange(other.left_, 0)),
      names_(std::move(other.names_)),
      index_(std::move(other.index_)),
      textSize_(std::exchange(other.textSize_, 0)) {
  other.names_.clear();
  other.index_.clear();
}

MemberSet& MemberSet::operator=(const MemberSet& other) {
  if (this != &other) *this = MemberSet(other);
  return *this;
}

MemberSet& MemberSet::operator=(MemberSet&& other) noexcept {
  if (this == &other) return *this;
  blocks_ = std::move(other.blocks_);
  free_ = std::exchange(other.free_, nullptr);
  left_ = std::exchange(other.left_, 0);
  names_ = std::move(other.names_);
  index_ = std::move(other.index_);
  textSize_ = std::exchange(other.textSize_, 0);
  other.blocks_.clear();
  other.names_.clear();
  other.index_.clear();
  return *this;
}

void MemberSet::reserve(size_t count) {
  names_.reserve(count);
  index_.reserve(count);
}

bool MemberSet::insert(std::u16string_view name) {
  if (index_.contains(name)) return false;
  const std::u16string_view kept = Keep(name);
  index_.insert(kept);
  names_.push_back(kept);
  textSize_ += name.size();
  return true;
}

void MemberSet::merge(const MemberSet& other) {
  reserve(size() + other.size());
  for (const std::u16string_view name : other) insert(name);
}

std::u16string_view MemberSet::Keep(std::u16string_view name) {
  if (name.empty()) return {};
  char16_t* at;
  if (name.size() > kOwnBlockUnits) {
    blocks_.push_back(std::make_unique_for_overwrite<char16_t[]>(name.size()));
    at = blocks_.back().get();
  } else {
    if (left_ < name.size()) {
      blocks_.push_back(std::make_unique_for_overwrite<char16_t[]>(kBlockUnits));
      free_ = blocks_.back().get();
      left_ = kBlockUnits;
    }
    at = free_;
    free_ += name.size();
    left_ -= name.size();
  }
  std::copy(name.begin(), name.end(), at);
  return {at, name.size()};
}

bool operator==(const MemberSet& first, const MemberSet& second) {
  if (first.size() != second.size()) return false;
  return std::all_of(first.begin(), first.end(),
                     [&](std::u16string_view name) { return second.contains(name); });
}

}  // namespace QueriesProcessing
