#pragma once

#include "Common/Components/IComponent.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Nodes/VXNodePtr.h"

// The database settings service of the server, the named instance that the
// membership preprocessor's `DSMInstName` gives: the settings of the common
// database, which the preprocessor hands to its SQL storage, and the news of
// their change.
struct IDatabaseSettingsService : IComponent {
  static inline const GUID kIid = MakeGuid(u"{5E0C7A41-2B9D-4F63-8A1E-6D3B9C0F4E27}");

  // The current settings of the common database. `*settings` is a node of
  // the caller's own (a copy), or null when the service has none. What the
  // membership preprocessor reads of it: the boolean `Enabled` (default
  // false); the rest is for the SQL storage (`Database` for the one over
  // SQLite).
  virtual HRESULT GetCommonDbSettings(VXNodePtr* settings) = 0;

  // From now on `observer` is told of each change of the settings, by
  // OnModify on a thread of the service. The service holds a reference to
  // `observer` until the host lets go of it.
  virtual HRESULT Subscribe(IConfigObserver* observer) = 0;
};
