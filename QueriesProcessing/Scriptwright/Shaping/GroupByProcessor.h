#pragma once

#include <string>
#include <unordered_set>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %GROUP_BY_PROCESSOR% (and, as a second object, the overview counters'
// %OVERVIEW_COUNTERS.GROUP_BY_PROCESSOR%): writes the request's grouping.
//
// The request's `GroupByRoot` (required) holds entries with `Column`
// (required), `AliasTable`, `AliasColumn` and `Order`. In `Order` sequence,
// joined by ",":
//   AliasFields         "[t].[Who] AS [User]" (" COLLATE database_default AS "
//                       for columns in CollateRequiredColumns)
//   AliasClauseFields   "[t].[Who]"
//   AliasDefaultFields  DefaultFieldTemplate formatted with "[Who]"
// The column named MatchingColumn is wrapped in ColumnPrefix and
// ColumnPostfix inside the alias: "MAX([a].[When]) AS [Last]". An empty token
// replaces nothing.
//
// Configuration: AliasFields, AliasClauseFields (required); AliasDefaultFields,
// DefaultFieldTemplate, ColumnPrefix, ColumnPostfix, MatchingColumn (default
// empty); CollateRequiredColumns (string list, default empty).
class CGroupByProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string BuildColumn(const VXNodePtr& entry, bool withAlias) const;
  std::u16string BuildColumns(const VXNodePtr& root, bool withAlias) const;
  std::u16string BuildDefaultFields(const VXNodePtr& root) const;

  std::u16string aliasDefaultFields_;
  std::u16string aliasFields_;
  std::u16string aliasClauseFields_;
  std::u16string defaultFieldTemplate_;
  std::u16string matchingColumn_;
  std::u16string columnPrefix_;
  std::u16string columnPostfix_;
  std::unordered_set<std::u16string> collateRequiredColumns_;
};

}  // namespace QueriesProcessing
