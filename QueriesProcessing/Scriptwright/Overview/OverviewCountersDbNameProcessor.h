#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %OVERVIEW_COUNTERS.DB_NAME%: the fan-out of an overview counters statement.
// The overview templates filter on a product by an ordinary condition on a
// column; this processor turns such conditions into the request's
// `Auditing_systems` and `Suppressed_Auditing_systems`, and then has the
// configured database name processor copy the text once per database.
//
// Configuration (Initialize); a missing required item fails with 0x80070490:
//   matching_column       required: the condition column that names a product
//   dependency_processor  required: the token that does the fan-out (%DB_NAME%)
//   dbname_separator      required: the separator of the copies
//   explicit_vew          optional (so spelt): a view name passed on as
//                         ExplicitView; empty passes nothing
//   child DataSourceMapping  required: every child of it maps its
//                         MandatoryProductId (integer, required) to itself and
//                         each of its AdditionalProductIds (integer list) to
//                         that MandatoryProductId; an id keeps its first
//                         target. Children of any node type are read (the
//                         children of %DB_NAME%'s mapping, type DataSource,
//                         serve as they are).
// Per use (the variable node, may be null): DbNameSeparator (overrides
// dbname_separator), default_template.
//
// ProcessNode:
//  1. Below the request's `Conditions` child (the child included; none: this
//     step does nothing), every node of type ConditionValues is read: its
//     Columnn is required (0x80070490). One whose Columnn is matching_column
//     names products:
//       Value   included when Comparator is "=" (an absent Comparator counts
//               as "=", which is what %CONDITION% writes for it), otherwise
//               excluded;
//       Values  (an integer list) included when the parent is a Condition
//               with operator "IN", otherwise (NOT IN, any other parent, no
//               parent) excluded.
//     Each id is mapped to its mandatory id (GetMandatoryProductId) and added
//     to Auditing_systems (included) or Suppressed_Auditing_systems
//     (excluded), together with the ids the request had there. A set that is
//     not empty is written back as a sorted i32 list in place of the old
//     value; an empty one leaves the attribute as it was. The conditions
//     themselves stay in the tree for %CONDITION%.
//  2. A fresh node with DbNameSeparator (per use, else dbname_separator) and,
//     when explicit_vew is set, ExplicitView runs dependency_processor over
//     the whole text through the processors manager.
//  3. If the text came back empty (no database left) and the variable node
//     has default_template, the text becomes that template.
//
// E.g. with matching_column "ProductID", a mapping {3: 7} and the condition
// ProductID <> 7, the request gets Suppressed_Auditing_systems [3] before
// %DB_NAME% runs, which then reads no view of product 3.
//
// Failures: an id that the map lacks logs
// "COverviewCountersDbNameProcessor::GetMandatoryProductId failed: ..." with
// "Product id not found: <id>" and fails the request with 0x80070490; the
// dependency's failures (0x80070057 for an unknown token) pass through. A
// failure of step 1 leaves the request as it was (every id is mapped before
// a list is written); one of the dependency comes after the lists were
// written. The text is left as it was unless the dependency changed it.
//
// Thread-safety: read-only after Initialize; the request belongs to the call.
class COverviewCountersDbNameProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The mandatory product id of `id`; raises HRX 0x80070490 (and logs) when
  // the map lacks it.
  int32_t GetMandatoryProductId(int32_t id) const;

 private:
  void MoveProductConditions(const VXNodePtr& request) const;

  std::u16string matchingColumn_;
  std::u16string dependencyProcessor_;
  std::u16string dbNameSeparator_;
  std::u16string explicitView_;
  std::unordered_map<int32_t, int32_t> productIdMap_;
};

}  // namespace QueriesProcessing
