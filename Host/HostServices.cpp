#include "Host/HostServices.h"

#include "Common/SqlStorage/SQLiteStorage.h"

namespace {

CompPtr<IConfigSubscriptions> MakeConfigProxy(const VXNodePtr& tree, std::u16string name) {
  auto* proxy = MakeHostComponent<CHostConfigProxy>();
  proxy->SetTree(tree, std::move(name));
  return CompPtr<IConfigSubscriptions>::Attach(proxy);
}

}  // namespace

HostServices::HostServices(const ModuleLoader& module, const HostEnvironment& environment,
                           std::ostream& out, bool xml)
    : module_(module),
      proxy_(MakeConfigProxy(environment.Config(), u"ConfigServer.Proxy")),
      appConfig_(MakeConfigProxy(environment.Config(), u"Base.AppConfigStorage")),
      permissions_(environment.Permissions()) {
  auto* dataSources = MakeHostComponent<CHostDataSourceManager>();
  dataSources_ = CompPtr<IDataSourceManager>::Attach(dataSources);
  dataSources->SetDataSources(environment.DataSources());
  auto* printer = MakeHostComponent<CCommandPrinter>();
  printer_ = CompPtr<IQueryProcessor>::Attach(printer);
  printer->SetOutput(&out, xml);
  auto* contexts = MakeHostComponent<CHostRequestContextMgr>();
  const auto contextsHeld = CompPtr<IRequestContextMgr>::Attach(contexts);
  contexts->SetCaller(environment.Caller());
  auto* services = MakeHostComponent<CHostServiceClient>();
  const auto servicesHeld = CompPtr<IServiceClient>::Attach(services);
  services->SetServices(environment.Services());
  auto* checker = MakeHostComponent<CHostPermissionsChecker>();
  const auto checkerHeld = CompPtr<IPermissionsChecker>::Attach(checker);
  checker->SetPermissions(permissions_);
  auto* databaseSettings = MakeHostComponent<CHostDatabaseSettings>();
  databaseSettings_ = CompPtr<IDatabaseSettingsService>::Attach(databaseSettings);
  databaseSettings->SetSettings(environment.DatabaseSettings());
  storage_ = CompPtr<IVXSQLStorage>::Attach(MakeHostComponent<CSQLiteStorage>());

  names_.Add(u"Core.RequestContextMgr", contextsHeld.get());
  names_.Add(u"Core.ServiceClient", servicesHeld.get());
  names_.Add(u"DataSourceManager", dataSources_.get());
  names_.Add(u"Security.PermissionsChecker", checkerHeld.get());
  names_.Add(u"ConfigServer.Proxy", proxy_.get());
  names_.Add(u"Base.AppConfigStorage", appConfig_.get());
  names_.Install();
  module_.SetNamedInstanceProvider(&NamedInstanceTable::Provide);
}

HostServices::~HostServices() {
  module_.SetNamedInstanceProvider(nullptr);
  DataSources()->Clear();
  Proxy()->Clear();
  AppConfig()->Clear();
  DatabaseSettings()->Clear();
}

void HostServices::ServeExecutor(const std::u16string& name) {
  if (!name.empty()) names_.Add(name, printer_.get());
}

void HostServices::ServeMembership(const std::u16string& settingsName,
                                   const std::u16string& storageName) {
  if (!settingsName.empty()) {
    DatabaseSettings()->SetName(settingsName);
    names_.Add(settingsName, databaseSettings_.get());
  }
  if (!storageName.empty()) names_.Add(storageName, storage_.get());
}

void HostServices::Forget(IComponent* component) {
  DataSources()->RemoveObserver(component);
  DatabaseSettings()->RemoveObserver(component);
  Proxy()->RemoveObserver(component);
  AppConfig()->RemoveObserver(component);
}
