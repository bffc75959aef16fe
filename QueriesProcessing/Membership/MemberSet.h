#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace QueriesProcessing {

// Account names, each held once (exact, case-sensitive equality), walked in
// the order in which they were first added.
//
// The names lie one behind the other in large blocks, and the walk goes over
// a contiguous list of them, so writing out a million names reads memory in
// order: with a node-based hash set the same walk waits on memory for every
// name, and costs several times the writing of the text. Lookups go through a
// hash index of the same names. A name may hold any unit, U+0000 included,
// and be of any length.
//
//   MemberSet names{u"b", u"a"};
//   names.insert(u"b");  // false: held already
//   names.insert(u"c");  // true; the walk gives b, a, c
//
// The views that the walk gives stay valid while the set lives and is not
// assigned to; a moved set takes its names along. Not thread-safe: one
// thread at a time, like a standard container.
class MemberSet {
 public:
  using value_type = std::u16string_view;
  using const_iterator = std::vector<std::u16string_view>::const_iterator;

  MemberSet() = default;
  MemberSet(std::initializer_list<std::u16string_view> names);
  MemberSet(const MemberSet& other);
  MemberSet(MemberSet&& other) noexcept;
  MemberSet& operator=(const MemberSet& other);
  MemberSet& operator=(MemberSet&& other) noexcept;
  ~MemberSet() = default;

  // Adds `name` unless it is held; true when it was added.
  bool insert(std::u16string_view name);
  // Adds every name of `other`, in its order.
  void merge(const MemberSet& other);
  bool contains(std::u16string_view name) const { return index_.contains(name); }

  size_t size() const { return names_.size(); }
  bool empty() const { return names_.empty(); }
  // The units of all names together.
  size_t textSize() const { return textSize_; }
  void reserve(size_t count);

  const_iterator begin() const { return names_.begin(); }
  const_iterator end() const { return names_.end(); }

  // The same names, in any order.
  friend bool operator==(const MemberSet& first, const MemberSet& second);

 private:
  // A lasting copy of `name`'s units in the blocks.
  std::u16string_view Keep(std::u16string_view name);

  std::vector<std::unique_ptr<char16_t[]>> blocks_;
  char16_t* free_ = nullptr;  // the unused end of the last block
  size_t left_ = 0;           // units there
  std::vector<std::u16string_view> names_;
  std::unordered_set<std::u16string_view> index_;
  size_t textSize_ = 0;
};

}  // namespace QueriesProcessing
