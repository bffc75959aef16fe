#pragma once

#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/SqlStorageInterfaces.h"

// The database settings service (IDatabaseSettingsService), served under the
// instance name that the catalogue's membership preprocessor gives in
// `DSMInstName`. It answers with a copy of the settings it holds: at first
// the environment's `DatabaseSettings` node, later whatever Change put in
// place; none at all when the environment has no such part.
//
// Change is how a run changes the settings under the library's feet (a
// request file's `DatabaseSettings` step): the new settings take the old
// ones' place, then every subscriber's OnModify is called, on the calling
// thread and outside the lock, with a null node (the subscriber reads the
// settings anew).
//
// Each call is logged at DBG, beginning with the instance name:
// "<name> GetCommonDbSettings: " and the settings' description or "none",
// "<name> Subscribe", "<name> Change: <n> subscriber(s) told".
//
// Thread-safe: the settings and the subscribers are kept under a lock.
class CHostDatabaseSettings : public CComponentBase, public IDatabaseSettingsService {
 public:
  using Interfaces = std::tuple<IDatabaseSettingsService>;

  // Its first settings, before it is handed out (kept as a copy; null: none).
  void SetSettings(const VXNodePtr& settings);
  // Its instance name, for the log.
  void SetName(std::u16string name);
  // New settings (a copy of `settings`), then OnModify to each subscriber.
  // Gives the first failure of the subscribers, having told them all.
  HRESULT Change(const VXNodePtr& settings);

  HRESULT GetCommonDbSettings(VXNodePtr* settings) override;
  HRESULT Subscribe(IConfigObserver* observer) override;

  // Lets go of every subscription of `component`.
  void RemoveObserver(IComponent* component);
  // Subscribers hold the components that hold this service: let go of them.
  void Clear();

 private:
  std::mutex lock_;
  std::u16string name_;                               // guarded by lock_
  VXNodePtr settings_;                                // guarded by lock_
  std::vector<CompPtr<IConfigObserver>> observers_;  // guarded by lock_
};
