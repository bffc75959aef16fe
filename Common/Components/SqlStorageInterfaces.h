#pragma once

#include "Common/Components/IComponent.h"
#include "Common/Components/ServerInterfaces.h"
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

// The database settings service, served under the instance name that the
// preprocessor's `DSMInstName` gives: the settings of the common database,
// which the membership preprocessor hands to its SQL storage.
struct IDatabaseSettingsService : IComponent {
  static inline const GUID kIid = MakeGuid(u"{88B290E6-A3A2-46F6-BF60-C767A8A4428B}");

  // The current settings of the common database, as a node the caller owns
  // and may change (a copy of the service's own): `Enabled` (boolean,
  // default false) says whether the database may be used at all, and the
  // other attributes are the storage's (for the SQLite storage `Database`
  // and `BusyTimeoutMs`). A null `*settings` means no settings.
  virtual HRESULT GetCommonDbSettings(VXNodePtr* settings) = 0;

  // Calls `observer->OnModify` (with a null node) on a thread of the service
  // after each change of the settings. The service holds a reference to the
  // observer until it lets go of its observers (at the latest when the host
  // stops), so notifications may still come after the observer's Shutdown.
  virtual HRESULT Subscribe(IConfigObserver* observer) = 0;
};
