#include "QueriesProcessing/Scriptwright/Targeting/DbTargetCollector.h"

#include <utility>

#include "Common/LogScope.h"

namespace QueriesProcessing {

DbTargetCollector::DbTargetCollector(std::u16string explicitView, int32_t schema)
    : explicitView_(std::move(explicitView)), schema_(schema) {
  health_.LoadHealthInfo();
}

void DbTargetCollector::OfferViews(const ProductViews::ViewsByName& views) {
  if (explicitView_.empty()) {
    // At most one new database for each entry: the table grows once, not
    // by doubling over thousands of databases.
    targets_.reserve(targets_.size() + views.size());
    for (const auto& [name, entry] : views) {
      if (entry.DatabaseSchema == schema_) Offer(entry, false);
    }
    return;
  }
  const auto [first, last] = views.equal_range(explicitView_);
  for (auto it = first; it != last; ++it) {
    if (it->second.DatabaseSchema == schema_) Offer(it->second, true);
  }
}

void DbTargetCollector::Offer(const ViewEntry& entry, bool isExplicit) {
  bool available = false;
  bool mandatory = true;
  health_.GetDBInfoByName(entry.DbName, &available, &mandatory);
  if (!isExplicit && entry.ExplicitOnly) return;
  if (!available && !mandatory) return;
  VX_LOG(Severity::DBG, u"Add " << entry.DbKey);
  auto [pair, added] = targets_[entry.DbKey].try_emplace(entry.ViewName);
  if (added) {
    pair->second = TargetView{&entry, entry.ProductIds};
    return;
  }
  pair->second.ProductIds.insert(entry.ProductIds.begin(), entry.ProductIds.end());
}

}  // namespace QueriesProcessing
