#include "QueriesProcessing/Scriptwright/Targeting/ProductViews.h"

#include <utility>

namespace QueriesProcessing {

void ProductViews::Add(int32_t productId, ViewEntry entry) {
  ViewsByName& views = products_[productId];
  std::u16string name = entry.ViewName;
  views.emplace(std::move(name), std::move(entry));
}

const ProductViews::ViewsByName* ProductViews::Find(int32_t productId) const {
  const auto it = products_.find(productId);
  return it == products_.end() ? nullptr : &it->second;
}

}  // namespace QueriesProcessing
