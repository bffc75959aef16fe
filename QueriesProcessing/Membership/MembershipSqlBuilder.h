#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Guid.h"
#include "QueriesProcessing/Membership/MembershipTablesConfig.h"
#include "QueriesProcessing/Membership/SessionMembers.h"

namespace QueriesProcessing {

// The SQL texts of the membership tables manager, made from its configured
// templates by literal replacement. A session id enters every text in the
// 38-character form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (upper case).
// Member names are written as N'...' literals with every "'" doubled and
// nothing else changed: a name may hold any character, U+0000 included, and
// be of any length. Holds only configuration: thread-safe, and each text is
// built in one pass into reserved memory.
class CMembershipSqlBuilder {
 public:
  explicit CMembershipSqlBuilder(MembershipTablesConfig config) : config_(std::move(config)) {}

  const MembershipTablesConfig& Config() const { return config_; }

  static std::u16string SessionIdText(const GUID& sessionId);

  // `tableNameTemplate` with `inclusiveAlias` replaced by "NotInGroup" when
  // `isExclusive`, else by "InGroup", then `sessionIdAlias` by the id.
  std::u16string TableName(const GUID& sessionId, bool isExclusive) const;

  // `templateText` with every `sessionIdAlias` replaced by the id.
  std::u16string SessionStatement(std::u16string_view templateText, const GUID& sessionId) const;

  // Appends the inserts of `members` into the session's inclusive (or, when
  // `isExclusive`, exclusive) table to `out`: one statement per
  // `insertBatchSize` members, in the set's order, each `insertQueryTemplate`
  // with `tableNameAlias` replaced by the table name, %COLUMN_NAME% by the
  // table's column name and %MEMBERS% by the rows joined by ",", then ";\n".
  // A row is "(N'" + name with "'" doubled + "')". With a template
  //   INSERT INTO %T% (%COLUMN_NAME%) VALUES %MEMBERS%
  // and a batch size of 2, {a, o'b, c} gives
  //   INSERT INTO t (Who) VALUES (N'a'),(N'o''b');\n
  //   INSERT INTO t (Who) VALUES (N'c');\n
  // No members, no text. Logs the appended text at DBG2 behind
  // "Full members insert command: ".
  void AppendInsert(std::u16string& out, const GUID& sessionId, const MemberSet& members,
                    bool isExclusive) const;

  // The one batch that stores a session: its create-tables and
  // create-session statements, the inserts of the inclusive and then of the
  // exclusive members (each only if there are some), and the statistics
  // statements of the inclusive and then of the exclusive table.
  std::u16string StoreBatch(const GUID& sessionId, const SessionMembers& members) const;

  // The drop statement of the session, then the deletion of its record
  // (%SESSIONS% = N'{...}').
  std::u16string ReleaseBatch(const GUID& sessionId) const;

  struct DropBatchText {
    std::u16string sql;       // empty for no ids
    std::u16string sessions;  // "N'{...}', N'{...}'", for the log
  };
  // The drop statements of every session in order, then one deletion of all
  // their records.
  DropBatchText DropBatch(const std::vector<GUID>& sessionIds) const;

 private:
  std::u16string InsertHead(const GUID& sessionId, bool isExclusive) const;
  std::u16string Statistics(const GUID& sessionId, bool isExclusive) const;

  const MembershipTablesConfig config_;
};

}  // namespace QueriesProcessing
