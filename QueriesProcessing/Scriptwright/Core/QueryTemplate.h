#pragma once

#include <memory>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Core/SQLCommand.h"

namespace QueriesProcessing {

// One named template of the catalogue: its commands in order, and the schema
// number the request gets as `DBSchema`.
//
// Built from a `query_template` node: `db_schema` (default 0) and each child
// of node type `sql_command`; other children are ignored.
//
// Run writes to the request `DBSchema`, `IncompleteMembers` (false, only if
// absent) and `LimitCountMembers` (-1, only if absent), then appends one
// `Command` child per command, in order, with the attributes SQL_Command,
// no_result, final, always_execute, multiple_dataset and merge_dataset (the
// request's `MergeDatasets`, default true, read once before the first).
class CQueryTemplate {
 public:
  // Raises HRX when a command's configuration is bad.
  explicit CQueryTemplate(const VXNodePtr& node);

  // Returns 0 or the code of the first failure; commands appended before a
  // failure stay in the request.
  HRESULT Run(VXNodePtr& request) const;

 private:
  std::vector<std::shared_ptr<CSQLCommand>> commands_;
  int32_t dbSchema_ = 0;
};

}  // namespace QueriesProcessing
