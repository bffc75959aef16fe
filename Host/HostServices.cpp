#include "Host/HostServices.h"

VXNodePtr ChildOfType(const VXNodePtr& environment, std::u16string_view type) {
  for (uint32_t i = 0; environment && i < environment.ChildCount(); ++i) {
    if (environment.ChildAt(i).GetType() == type) return environment.ChildAt(i);
  }
  return VXNodePtr();
}

HostServices::HostServices(const ModuleLoader& module, const VXNodePtr& environment,
                           const VXNodePtr& caller, std::ostream& out, bool xml)
    : module_(module) {
  auto* dataSources = MakeHostComponent<CHostDataSourceManager>();
  dataSources_ = CompPtr<IDataSourceManager>::Attach(dataSources);
  auto* proxy = MakeHostComponent<CHostConfigProxy>();
  proxy_ = CompPtr<IConfigSubscriptions>::Attach(proxy);
  proxy->SetTree(ChildOfType(environment, u"Config"));
  auto* printer = MakeHostComponent<CCommandPrinter>();
  printer_ = CompPtr<IQueryProcessor>::Attach(printer);
  printer->SetOutput(&out, xml);
  auto* contexts = MakeHostComponent<CHostRequestContextMgr>();
  const auto contextsHeld = CompPtr<IRequestContextMgr>::Attach(contexts);
  contexts->SetCaller(caller);
  auto* services = MakeHostComponent<CHostServiceClient>();
  const auto servicesHeld = CompPtr<IServiceClient>::Attach(services);
  services->SetServices(ChildOfType(environment, u"Services"));

  names_.Add(u"Core.RequestContextMgr", contextsHeld.get());
  names_.Add(u"Core.ServiceClient", servicesHeld.get());
  names_.Add(u"DataSourceManager", dataSources_.get());
  names_.Add(u"ConfigServer.Proxy", proxy_.get());
  names_.Add(u"Base.AppConfigStorage", proxy_.get());
  names_.Install();
  module_.SetNamedInstanceProvider(&NamedInstanceTable::Provide);
}

HostServices::~HostServices() {
  module_.SetNamedInstanceProvider(nullptr);
  static_cast<CHostDataSourceManager*>(dataSources_.get())->Clear();
  static_cast<CHostConfigProxy*>(proxy_.get())->Clear();
}

void HostServices::ServeExecutor(const std::u16string& name) {
  if (!name.empty()) names_.Add(name, printer_.get());
}

void HostServices::Forget(IComponent* component) {
  static_cast<CHostDataSourceManager*>(dataSources_.get())->RemoveObserver(component);
  static_cast<CHostConfigProxy*>(proxy_.get())->RemoveObserver(component);
}
