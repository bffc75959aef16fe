#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

#include <algorithm>
#include <utility>

namespace QueriesProcessing {

namespace {

constexpr size_t kInsertionSortLimit = 16;

}  // namespace

std::vector<VXNodePtr> GetOrderedChildren(const VXNodePtr& parent,
                                          std::u16string_view orderAttribute,
                                          int32_t defaultOrder) {
  const uint32_t count = parent.ChildCount();
  std::vector<std::pair<int32_t, VXNodePtr>> keyed;
  keyed.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    VXNodePtr child = parent.ChildAt(i);
    const int32_t order = child.GetInt32(orderAttribute, defaultOrder);
    keyed.emplace_back(order, std::move(child));
  }
  const auto byOrder = [](const auto& a, const auto& b) { return a.first < b.first; };
  if (keyed.size() <= kInsertionSortLimit) {
    // A handful of sort entries: an insertion sort, stable too, needs no
    // buffer of its own.
    for (size_t i = 1; i < keyed.size(); ++i) {
      for (size_t j = i; j > 0 && byOrder(keyed[j], keyed[j - 1]); --j)
        std::swap(keyed[j], keyed[j - 1]);
    }
  } else {
    std::stable_sort(keyed.begin(), keyed.end(), byOrder);
  }
  std::vector<VXNodePtr> ordered;
  ordered.reserve(keyed.size());
  for (auto& [order, child] : keyed) ordered.push_back(std::move(child));
  return ordered;
}

}  // namespace QueriesProcessing
