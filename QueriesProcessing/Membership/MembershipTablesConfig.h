#pragma once

#include <cstdint>
#include <string>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The configuration of the membership tables manager, read from its node
// (`MembershipTablesManager` of the preprocessor's configuration). Every
// statement of the manager comes from here; the templates are put together by
// plain, literal text replacement, and a replaced text is not scanned again
// for the same alias.
struct MembershipTablesConfig {
  // Stands for the session id ("{...}", 38 characters) in the session
  // templates and in `tableNameTemplate`.
  std::u16string sessionIdAlias;
  // The physical name of a member table; holds `sessionIdAlias` and
  // `inclusiveAlias`.
  std::u16string tableNameTemplate;
  // Stands for a table name in `insertQueryTemplate` and
  // `updateStatisticsTemplate`.
  std::u16string tableNameAlias;
  // Stands for "InGroup" or "NotInGroup" in `tableNameTemplate`.
  std::u16string inclusiveAlias;
  // Values of %COLUMN_NAME% in the inserts of the two tables.
  std::u16string inclusiveColumnName;
  std::u16string exclusiveColumnName;
  // Returns a row if the database knows the session; `sessionIdAlias`.
  std::u16string checkExistenceQueryTemplate;
  // Creates both member tables of a session; `sessionIdAlias`.
  std::u16string createTablesQueryTemplate;
  // One insert; `tableNameAlias`, %COLUMN_NAME%, %MEMBERS%.
  std::u16string insertQueryTemplate;
  // Refreshes the statistics of one table; `tableNameAlias`.
  std::u16string updateStatisticsTemplate;
  // Creates the session dictionary if it is missing; run once at start.
  std::u16string createDictQuery;
  // Records a session in the dictionary; `sessionIdAlias`.
  std::u16string createSessionQueryTemplate;
  // Drops the tables of one session; `sessionIdAlias`.
  std::u16string dropSessionQueryTemplate;
  // One row per recorded session, with the GUID attribute `SessionId`.
  std::u16string selectSessionsQuery;
  // Deletes dictionary records; %SESSIONS% is a list of N'{...}' joined by
  // ", ".
  std::u16string deleteSessionRecordsQueryTemplate;
  // Period of the retention routine; 0 runs it once after the start and then
  // only when asked.
  int32_t retentionRoutineIntervalSec = 0;
  // Idle life of a session.
  int32_t sessionLifeTimeSec = 0;
  // Members per insert statement.
  int32_t insertBatchSize = 1000;

  // Reads the attributes of the same names, starting with a capital
  // (`SessionIdAlias`, ..., `InsertBatchSize`), all strings but the last
  // three (integers). All are required but `InsertBatchSize` (default 1000):
  // a missing one raises 0x80070490 naming it. Raises 0x80070057 for an
  // empty alias (every session would get the same tables), a negative
  // interval or life, or a batch size below 1. Logs the node's dump at DBG
  // behind "MembershipTablesManager config: ".
  static MembershipTablesConfig Read(const VXNodePtr& node);
};

}  // namespace QueriesProcessing
