#pragma once

#include <cstdint>
#include <memory_resource>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Common/SubsystemHelpers/DBHealth.h"
#include "QueriesProcessing/Scriptwright/Targeting/ProductViews.h"
#include "QueriesProcessing/Scriptwright/Targeting/ViewEntry.h"

namespace QueriesProcessing {

// One (database, view) pair that a request reads: the first entry admitted
// for it, whose names go into the text, and the products of every entry
// admitted for it.
struct TargetView {
  const ViewEntry* Entry = nullptr;
  std::set<int32_t> ProductIds;
};

// The (database, view) pairs of one request of the %DB_NAME% processor.
//
// The constructor asks "Service.DatabaseManagementGate" once for the health
// of every database (CDBHealth::LoadHealthInfo) and raises its failure.
//
// OfferViews(views of one product):
//   without an explicit view every entry is offered as not explicit; with
//   one, only the entries under that view name, as explicit. Entries whose
//   DatabaseSchema is not the request's schema are left out either way.
// Offer(entry, explicit), in this order:
//   1. the gate is asked by DbName, with available false and mandatory true
//      beforehand: a database it does not report counts as mandatory;
//   2. an ExplicitOnly entry offered as not explicit is left;
//   3. an entry neither available nor mandatory is left (also when explicit):
//      an offline mandatory database stays in the statement;
//   4. trace "Add <DbKey>"; the pair (DbKey, ViewName) is added with the
//      entry and a copy of its ProductIds, or, when the pair is there, the
//      entry's ProductIds join the pair's set. The first entry of a pair
//      stays: "Audit" and "AUDIT" are one database, written as the first.
//
// GetTargets(): DbKey -> ViewName -> TargetView, in hash map order. Entries,
// and the names that key them, are held by reference: the ProductViews they
// come from must outlive the collector. One collector belongs to one call;
// no lock.
//
// The tables take their nodes from an arena of the collector, freed at once
// with it: a request over thousands of databases makes no small allocation
// per pair, and the nodes of one request lie side by side in memory.
class DbTargetCollector {
 public:
  using Views = std::pmr::unordered_map<std::u16string_view, TargetView>;
  using Targets = std::pmr::unordered_map<std::u16string_view, Views>;

  DbTargetCollector(std::u16string explicitView, int32_t schema);
  DbTargetCollector(const DbTargetCollector&) = delete;
  DbTargetCollector& operator=(const DbTargetCollector&) = delete;

  void OfferViews(const ProductViews::ViewsByName& views);
  void Offer(const ViewEntry& entry, bool isExplicit);

  const Targets& GetTargets() const { return targets_; }

 private:
  std::u16string explicitView_;
  CDBHealth health_;
  int32_t schema_;
  std::pmr::monotonic_buffer_resource arena_;
  Targets targets_{&arena_};
};

}  // namespace QueriesProcessing
