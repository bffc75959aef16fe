#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "Common/Components/ServerInterfaces.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkProcessors.h"
#include "QueriesProcessing/Scriptwright/Targeting/DataSourceMapping.h"
#include "QueriesProcessing/Scriptwright/Targeting/DbTargetCollector.h"
#include "QueriesProcessing/Scriptwright/Targeting/MOHistory.h"
#include "QueriesProcessing/Scriptwright/Targeting/ProductViews.h"

namespace QueriesProcessing {

// %DB_NAME%: the databases and views a request reads. The command's whole
// text is copied once for each (database, view) pair the request may read,
// each copy gets that pair's names, and the copies are joined into one text.
//
// Configuration (Initialize), all strings required (0x80070490):
//   db_variable, schema_variable, view_variable, alias_product_id,
//   db_hash_variable   the tokens replaced in each copy (FanOutWriter)
//   default_db_schema  the SQL schema of every view
//   child DataSourceMapping (required): its "DataSource" children map a data
//     source type (node value, a GUID) to MandatoryProductId (integer,
//     required) and AdditionalProductIds (integer list); see
//     DataSourceMapping
//   children of node type "DataSource" (others are ignored): node value the
//     data source type's GUID, ViewName (required), db_schema (integer,
//     default 0), and "AdditionalView" children with ViewName (required),
//     ExplicitOnly (default false), ExplicitProductId (integer, optional)
//   continuation_mark_column and "MarkEntry" children, read by the
//     continuation mark processors (ContinuationMarkProcessors)
//
// Initialize:
//   1. reads the managed-object history (CMOHistory, "ConfigServer.Proxy");
//   2. gets IDataSources of the named instance "DataSourceManager";
//   3. reads the six strings, then DataSourceMapping;
//   4. for each DataSource child whose type is mapped (others are passed
//      over; a value that is no GUID fails with 0x80070057): traces
//      "Data Source ID:<value>" and asks GetDataSource(id, node, 1) for each
//      managed object the history files under that type. An id without a
//      node traces "Not found DS with id:<id>"; else "Found DS:<node>". A
//      node whose DatabaseSchema (default 0) is not the child's db_schema
//      traces "Schema mistmatch!" and is passed over; so is a node that is
//      not Enabled (default false) and was never enabled. For the rest the
//      child's ViewName is filed for the node and for each of its children
//      (further databases), with the type's products (MandatoryProductId and
//      AdditionalProductIds); then each AdditionalView the same way, with
//      ExplicitProductId alone as products when it is there. Everything is
//      filed under MandatoryProductId, tracing "ProductID:<P> View:<full
//      view name>" (ViewEntry::FromNode).
//   A node or child without `db` or `DatabaseSchema` fails the whole
//   Initialize with 0x80070490, and so does a failing GetDataSource with
//   its status.
//
// ProcessNode, request attributes: Query_Template_Name (required; chooses
// the continuation mark processor, see ContinuationMarkProcessors), DBSchema
// (integer, required), Auditing_systems and Suppressed_Auditing_systems
// (integer lists, optional), and Continuous, Continuation_Mark and
// SortingRoot through CContinuationMark. Per-use node (may be null):
// ExplicitView (default ""), DbNameSeparator (default ""), once_per_db
// (default false).
//   1. The request's mark is read first: a bad mark fails before anything
//      else (a hash that is no number raises std::invalid_argument or
//      std::out_of_range, which the host reports as a status).
//   2. One DbTargetCollector asks the database gate once for health.
//   3. Products: with Auditing_systems empty or absent, every product of
//      the table; else the listed ones, in order, each traced as
//      "ProductID:<id>" (a product the table lacks is passed over). A
//      suppressed product is never offered, listed or not.
//   4. FanOutWriter writes the pairs into `text`. No pair: `text` becomes "".
// On a failure `text` is left as it was. Before a successful Initialize,
// ProcessNode fails with 0x8007139F.
//
// Example, template T, separator S, databases A (product 1, view U) and B
// (view V for products 3 and 7, view W for 9): T with A and U and
// "[ProductID] = 1", S, T with B, V and "[ProductID] = 3 OR [ProductID] = 7",
// S, T with B, W and "[ProductID] = 9" (the order of the pairs is a hash
// map's).
//
// Thread-safety: Initialize once; afterwards the object is read-only and
// ProcessNode keeps all of a request's state on its stack.
class CDBNameProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  void ReadDataSource(const VXNodePtr& child, const DataSourceMapping& mapping,
                      IDataSources& dataSources);
  void RegisterViews(const VXNodePtr& dataSource, int32_t productId,
                     const std::set<int32_t>& productIds, const std::u16string& viewName,
                     bool explicitOnly);
  void Register(const VXNodePtr& node, int32_t productId, const std::set<int32_t>& productIds,
                const std::u16string& viewName, bool explicitOnly);
  void OfferProducts(const std::vector<int32_t>& auditing,
                     const std::unordered_set<int32_t>& suppressed,
                     DbTargetCollector& collector) const;

  std::u16string dbVariable_;
  std::u16string dbHashVariable_;
  std::u16string schemaVariable_;
  std::u16string viewVariable_;
  std::u16string defaultDbSchema_;
  std::u16string aliasProductId_;
  ProductViews productViews_;
  std::shared_ptr<CMOHistory> moHistory_;
  std::shared_ptr<ContinuationMarkProcessors> markProcessors_;
  bool ready_ = false;
};

}  // namespace QueriesProcessing
