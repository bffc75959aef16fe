#pragma once

#include "Common/Components/IComponent.h"
#include "Common/Nodes/VXNodePtr.h"

// The SQL storage of the server: runs batches of SQL text against the
// database its settings name. The group membership subsystem keeps its
// session tables through it; the host serves an implementation under the
// instance name that the preprocessor's `SimpleStorageInstName` gives
// (Common/SqlStorage/SQLiteStorage.h is the one over SQLite).
struct IVXSQLStorage : IComponent {
  static inline const GUID kIid = MakeGuid(u"{2BDD100D-44E2-4E1B-902B-C34D41011257}");

  // Runs the batch in the string attribute `SQL_Command` of `command`, every
  // statement of it in one transaction: a failing statement undoes the whole
  // batch, and the status carries the database's message as its text. With
  // the boolean `no_result` false (its default), `*result` gets a node with
  // one child per row that the batch's statements return, in order; with it
  // true, a node without children. `result` may be null when no rows are
  // wanted. A command without `SQL_Command` fails with 0x80070490.
  virtual HRESULT Execute(const VXNodePtr& command, VXNodePtr* result) = 0;

  // Opens, or keeps open, the database that `settings` name; the attributes
  // an implementation reads stand in its header.
  virtual HRESULT Configure(const VXNodePtr& settings) = 0;
};
