#include "QueriesProcessing/Scriptwright/Shaping/GroupByProcessor.h"

#include <vector>

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

HRESULT CGroupByProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CGroupByProcessor::Initialize");
  return OperationFrame("CGroupByProcessor::Initialize", [&] {
    aliasFields_ = config.GetString(u"AliasFields");
    aliasClauseFields_ = config.GetString(u"AliasClauseFields");
    aliasDefaultFields_ = config.GetString(u"AliasDefaultFields", u"");
    defaultFieldTemplate_ = config.GetString(u"DefaultFieldTemplate", u"");
    columnPrefix_ = config.GetString(u"ColumnPrefix", u"");
    columnPostfix_ = config.GetString(u"ColumnPostfix", u"");
    matchingColumn_ = config.GetString(u"MatchingColumn", u"");
    collateRequiredColumns_.clear();
    for (auto& column : config.GetStringList(u"CollateRequiredColumns", false)) {
      collateRequiredColumns_.insert(std::move(column));
    }
  });
}

HRESULT CGroupByProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CGroupByProcessor::ProcessNode");
  return OperationFrame("CGroupByProcessor::ProcessNode", [&] {
    const VXNodePtr root = request.GetChild(u"GroupByRoot", true);
    const std::u16string select = BuildColumns(root, true);
    const std::u16string clause = BuildColumns(root, false);
    const std::u16string defaults = BuildDefaultFields(root);
    ReplaceAll(text, aliasFields_, select);
    ReplaceAll(text, aliasClauseFields_, clause);
    ReplaceAll(text, aliasDefaultFields_, defaults);
  });
}

std::u16string CGroupByProcessor::BuildColumn(const VXNodePtr& entry, bool withAlias) const {
  const std::u16string column = entry.GetString(u"Column");
  std::u16string prefix;
  std::u16string alias;
  if (entry.TryGetString(u"AliasTable", alias)) prefix = EscapeColumnName(alias) + u".";
  std::u16string suffix;
  if (withAlias) {
    suffix = collateRequiredColumns_.count(column) ? u" COLLATE database_default AS " : u" AS ";
    suffix += EscapeColumnName(entry.GetString(u"AliasColumn", column));
  }
  if (column == matchingColumn_) {
    prefix = columnPrefix_ + prefix;
    suffix = columnPostfix_ + suffix;
  }
  return prefix + EscapeColumnName(column) + suffix;
}

std::u16string CGroupByProcessor::BuildColumns(const VXNodePtr& root, bool withAlias) const {
  std::vector<std::u16string> columns;
  for (const auto& entry : GetOrderedChildren(root, u"Order", 0)) columns.push_back(BuildColumn(entry, withAlias));
  return JoinStrings(columns, u",");
}

std::u16string CGroupByProcessor::BuildDefaultFields(const VXNodePtr& root) const {
  std::vector<std::u16string> fields;
  for (const auto& entry : GetOrderedChildren(root, u"Order", 0)) {
    fields.push_back(FormatString(defaultFieldTemplate_, EscapeColumnName(entry.GetString(u"Column"))));
  }
  return JoinStrings(fields, u",");
}

}  // namespace QueriesProcessing
