#pragma once

#include <memory>
#include <mutex>
#include <tuple>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/SqlStorageInterfaces.h"
#include "Common/SqlStorage/SqliteDatabase.h"

// The SQL storage over SQLite, a component that a host serves under the
// instance name of the preprocessor's `SimpleStorageInstName`; it answers for
// IVXSQLStorage and for IConfigurable (the same Configure), and registers no
// class of the module. Make one with
//   CComponentObject<CSQLiteStorage>::Create(IVXSQLStorage::kIid, out).
//
// Settings, the node given to Configure:
//   Database       string, required, not empty: the database file (UTF-16
//                  path, relative to the working directory; created if
//                  missing), or ":memory:" for a database in memory that
//                  lives as long as this object
//   BusyTimeoutMs  integer, default 5000, 0 to 600000: how long a statement
//                  waits while another connection (another process, another
//                  storage object on the same file) holds the database; then
//                  the batch fails with 0x80070102
// Other attributes are ignored. Among them `db_readonly`, which the
// preprocessor sets on its copy of the database settings: the session tables
// are written through this storage, so its connection stays writable.
//
// Configure naming the database already open keeps the connection, and so
// the contents of ":memory:", and takes the new busy time-out; the same file
// named by another path text counts as another database. A new database is
// opened before the old connection closes: a Configure that fails (missing
// or bad attribute 0x80070490 / 0x80070057, a file SQLite cannot open
// 0x80004005 with its message) leaves the previous one in use.
//
// Execute (IVXSQLStorage) converts the batch with ToSqliteText
// (SqliteDialect.h: N'...' literals, U+0000 inside literals, [a]]b] names)
// and runs it with CSqliteDatabase::RunBatch: all statements in one
// transaction, rows as SqliteRow.h describes, a failure rolled back whole
// with SQLite's message as the status text. Before a successful Configure it
// fails with 0x8007139F.
//
// Thread-safe: one connection, guarded by a mutex. Batches run one at a time,
// each whole; the conversion of a batch's text happens before the lock.
// Every operation is a component border (ComponentBorder).
class CSQLiteStorage : public CComponentBase, public IVXSQLStorage, public IConfigurable {
 public:
  using Interfaces = std::tuple<IVXSQLStorage, IConfigurable>;

  static constexpr int kDefaultBusyTimeoutMs = 5000;
  static constexpr int kMaxBusyTimeoutMs = 600000;

  HRESULT Execute(const VXNodePtr& command, VXNodePtr* result) override;
  HRESULT Configure(const VXNodePtr& settings) override;

 private:
  std::mutex lock_;
  std::unique_ptr<CSqliteDatabase> database_;  // guarded by lock_
};
