#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// One view of one database, as the %DB_NAME% processor files it when it
// initialises. Read-only afterwards.
struct ViewEntry {
  std::set<int32_t> ProductIds;  // the products this view answers for
  std::u16string DbName;         // attribute `db` of the data source node, as it stands
  std::u16string SchemaName;     // the processor's `default_db_schema`
  std::u16string ViewName;       // as configured
  std::u16string DbKey;          // MakeDbKey(DbName): "[AUDIT]"
  std::u16string FullViewName;   // "[AUDIT].[DBO].[VW_A]": for the trace only
  int32_t DatabaseSchema = 0;    // the schema version of the database
  bool ExplicitOnly = false;     // used only when a template names the view

  // The entry of `node` (a data source node or one of its children): `db`
  // (string) and `DatabaseSchema` (integer) are required, HRX 0x80070490.
  // FullViewName is DbKey, ".", the bracketed schema, ".", the bracketed
  // view, all upper-cased; "]" is doubled in DbKey and FullViewName only.
  static ViewEntry FromNode(const VXNodePtr& node, std::u16string_view schemaName,
                            std::u16string_view viewName, std::set<int32_t> productIds,
                            bool explicitOnly);
};

}  // namespace QueriesProcessing
