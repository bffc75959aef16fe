#pragma once

#include <ostream>
#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/SqlStorageInterfaces.h"
#include "Host/HostComponents.h"
#include "Host/HostDatabaseSettings.h"
#include "Host/HostEnvironment.h"
#include "Host/ModuleLoader.h"
#include "Host/NamedInstanceTable.h"

// The named components that the command-line host serves to the loaded
// module, made from the environment: "DataSourceManager" (its
// `DataSources`), "ConfigServer.Proxy" and "Base.AppConfigStorage" (its
// `Config` tree), "Core.RequestContextMgr" (acting for its caller),
// "Core.ServiceClient" (its `Services`), and the executing component, which
// prints each prepared query to `out` (the request tree in the node text form
// with `xml`). For the membership preprocessor, ServeMembership adds the
// database settings service (its first settings the environment's
// `DatabaseSettings`) and the SQL storage over SQLite, which the
// preprocessor configures with those settings. While this object lives, its
// table answers the module's look-ups of named instances. The environment's `Permissions` wait in
// Permissions() for "Security.PermissionsChecker".
//
// Made, used and destroyed on the host's thread; the components themselves
// may be called from any.
class HostServices {
 public:
  HostServices(const ModuleLoader& module, const HostEnvironment& environment, std::ostream& out,
               bool xml);
  // Uninstalls the table and lets go of every observer the components hold.
  ~HostServices();
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  // Serves the executing component under `name` too (a catalogue's
  // `queries_processor`); an empty name adds nothing.
  void ServeExecutor(const std::u16string& name);
  // Serves the database settings service under `settingsName` and the SQL
  // storage under `storageName`; an empty name adds nothing.
  void ServeMembership(const std::u16string& settingsName, const std::u16string& storageName);
  // Puts new settings in the database settings service, which tells its
  // subscribers (CHostDatabaseSettings::Change).
  HRESULT ChangeDatabaseSettings(const VXNodePtr& settings) {
    return DatabaseSettings()->Change(settings);
  }
  // The SQL storage, whether or not it is served.
  IVXSQLStorage* Storage() const { return storage_.get(); }
  // Lets go of every reference the components hold to `component`: its
  // registrations as an observer.
  void Forget(IComponent* component);

  const HostPermissions& Permissions() const { return *permissions_; }

 private:
  CHostConfigProxy* Proxy() const { return static_cast<CHostConfigProxy*>(proxy_.get()); }
  CHostConfigProxy* AppConfig() const { return static_cast<CHostConfigProxy*>(appConfig_.get()); }
  CHostDataSourceManager* DataSources() const {
    return static_cast<CHostDataSourceManager*>(dataSources_.get());
  }
  CHostDatabaseSettings* DatabaseSettings() const {
    return static_cast<CHostDatabaseSettings*>(databaseSettings_.get());
  }

  const ModuleLoader& module_;
  NamedInstanceTable names_;
  CompPtr<IDataSourceManager> dataSources_;
  CompPtr<IConfigSubscriptions> proxy_;
  CompPtr<IConfigSubscriptions> appConfig_;
  CompPtr<IQueryProcessor> printer_;
  CompPtr<IDatabaseSettingsService> databaseSettings_;
  CompPtr<IVXSQLStorage> storage_;
  std::shared_ptr<const HostPermissions> permissions_;
};
