#pragma once

#include <string>

#include "Common/Nodes/VXNodePtr.h"

struct sqlite3;

// One open connection to a SQLite database and the running of batches on it.
// Not thread-safe: the owner serialises every call (CSQLiteStorage holds it
// under its mutex).
class CSqliteDatabase {
 public:
  // Opens the database file at `path` (UTF-8), creating it if needed, or a
  // private in-memory database for ":memory:". A writer of another
  // connection is waited for at most `busyTimeoutMs` per statement. Raises
  // HRX 0x80004005 with SQLite's message when the file cannot be opened.
  CSqliteDatabase(const std::string& path, int busyTimeoutMs);
  ~CSqliteDatabase();
  CSqliteDatabase(const CSqliteDatabase&) = delete;
  CSqliteDatabase& operator=(const CSqliteDatabase&) = delete;

  const std::string& Path() const { return path_; }
  void SetBusyTimeout(int busyTimeoutMs);

  // Runs every statement of `batch` (UTF-8, without U+0000; see
  // SqliteDialect.h) in order, in one transaction begun with BEGIN IMMEDIATE
  // and committed at the end. Returns a node of type "Rows" with, when
  // `wantRows`, one child per row of every statement (SqliteRow.h), else
  // none. Text that holds no statement (empty, blanks, comments) succeeds
  // with no rows.
  //
  // Any failure rolls the whole batch back and raises HRX with a text of
  // SQLite's message and the start of the failing statement:
  //   the database stayed locked past the busy time-out  0x80070102
  //   SQLite ran out of memory                           0x8007000E
  //   a statement of the batch ended the transaction     0x80070057
  //   (COMMIT, END or ROLLBACK in the batch; what it committed stays)
  //   any other failure of SQLite                        0x80004005
  VXNodePtr RunBatch(const std::string& batch, bool wantRows);

 private:
  void Run(const char* statement);
  void RunStatements(const std::string& batch, bool wantRows, const VXNodePtr& rows);

  std::string path_;
  sqlite3* db_ = nullptr;
};
