#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "QueriesProcessing/Scriptwright/Targeting/ViewEntry.h"

namespace QueriesProcessing {

// The views the %DB_NAME% processor knows, filed by product id and then by
// view name (exact, case-sensitive). A second entry under one product and
// view name is kept beside the first, not merged: one view name may stand in
// several databases. Filled while the processor initialises, read-only
// afterwards; entries never move, so a reference to one stays valid as long
// as the table. Iteration order is the hash maps' order.
class ProductViews {
 public:
  using ViewsByName = std::unordered_multimap<std::u16string, ViewEntry>;

  void Add(int32_t productId, ViewEntry entry);

  // The views of a product, or null when it has none.
  const ViewsByName* Find(int32_t productId) const;

  const std::unordered_map<int32_t, ViewsByName>& All() const { return products_; }

 private:
  std::unordered_map<int32_t, ViewsByName> products_;
};

}  // namespace QueriesProcessing
