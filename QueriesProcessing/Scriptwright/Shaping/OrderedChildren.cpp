#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

#include <algorithm>
#include <utility>

namespace QueriesProcessing {

std::vector<VXNodePtr> GetOrderedChildren(const VXNodePtr& parent, std::u16string_view orderAttribute,
                                          int32_t defaultOrder) {
  std::vector<std::pair<int32_t, VXNodePtr>> keyed;
  parent.ForEachChild([&](const VXNodePtr& child) {
    keyed.emplace_back(child.GetInt32(orderAttribute, defaultOrder), child);
  });
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<VXNodePtr> ordered;
  ordered.reserve(keyed.size());
  for (auto& [order, child] : keyed) ordered.push_back(std::move(child));
  return ordered;
}

}  // namespace QueriesProcessing
