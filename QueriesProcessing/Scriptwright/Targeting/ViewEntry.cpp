#include "QueriesProcessing/Scriptwright/Targeting/ViewEntry.h"

#include <utility>

#include "Common/InvariantCase.h"
#include "Common/SqlText.h"
#include "QueriesProcessing/Common/DbKey.h"

namespace QueriesProcessing {

ViewEntry ViewEntry::FromNode(const VXNodePtr& node, std::u16string_view schemaName,
                              std::u16string_view viewName, std::set<int32_t> productIds,
                              bool explicitOnly) {
  ViewEntry entry;
  entry.ProductIds = std::move(productIds);
  entry.DbName = node.GetString(u"db");
  entry.SchemaName = schemaName;
  entry.ViewName = viewName;
  entry.DbKey = MakeDbKey(entry.DbName);
  entry.FullViewName = InvariantUpper(entry.DbKey + u"." + EscapeColumnName(schemaName) + u"." +
                                      EscapeColumnName(viewName));
  entry.DatabaseSchema = node.GetInt32(u"DatabaseSchema");
  entry.ExplicitOnly = explicitOnly;
  return entry;
}

}  // namespace QueriesProcessing
