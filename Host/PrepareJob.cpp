#include "Host/PrepareJob.h"

#include <optional>

#include "Common/Components/ServerInterfaces.h"
#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "Host/CatalogWatch.h"
#include "Host/HostComponents.h"
#include "Host/ModuleLoader.h"
#include "Host/NamedInstanceTable.h"

namespace {

// The preparer component's class.
const GUID kScriptwrightClassId = MakeGuid(u"{772DD3A6-C1F8-4AB9-A4C7-4D46A84131C3}");

// "0x80070490 Element not found: ..." from the failure's error information.
std::string FailureText(HRESULT code) {
  auto info = GetErrorInfo();
  std::u16string text = info && info->code == code ? info->description : GetDescription(code);
  return ToUtf8(FormatString(u"0x%08X %s", static_cast<uint32_t>(code), text));
}

void PrintFailure(std::ostream& err, const std::string& source, HRESULT code) {
  err << source << ": " << FailureText(code) << "\n";
}

// Reads the nodes of a file; prints the failure and gives false on error.
bool ReadNodes(const std::string& path, std::vector<VXNodePtr>& nodes, std::ostream& err) {
  try {
    nodes = ReadNodeTextFile(path);
    return true;
  } catch (const HRX& failure) {
    PrintFailure(err, path, failure.Report());
    return false;
  }
}

// The environment's child of node type `type`, or null.
VXNodePtr ChildOfType(const VXNodePtr& node, std::u16string_view type) {
  for (uint32_t i = 0; node && i < node.ChildCount(); ++i) {
    if (node.ChildAt(i).GetType() == type) return node.ChildAt(i);
  }
  return VXNodePtr();
}

// The token named `as` among the environment's tokens; none when `as` is empty.
VXNodePtr Caller(const VXNodePtr& environment, const std::string& as) {
  if (as.empty()) return VXNodePtr();
  const VXNodePtr tokens = ChildOfType(environment, u"Tokens");
  const VXNodePtr token = tokens ? tokens.GetChild(ToUtf16(as)) : VXNodePtr();
  if (!token) ThrowError(E_INVALIDARG, u": no token '" + ToUtf16(as) + u"' among the environment's Tokens");
  return token;
}

// One host: the library loaded, the host's named components, the preparer.
class Host {
 public:
  Host(const VXNodePtr& catalog, const VXNodePtr& environment, const VXNodePtr& caller, std::ostream& out, bool xml)
      : dataSources_(CompPtr<IDataSourceManager>::Attach(MakeHostComponent<CHostDataSourceManager>())),
        proxy_(MakeHostComponent<CHostConfigProxy>()),
        printer_(MakeHostComponent<CCommandPrinter>()) {
    printer_->SetOutput(&out, xml);
    auto* contexts = MakeHostComponent<CHostRequestContextMgr>();
    contexts->SetCaller(caller);
    auto* services = MakeHostComponent<CHostServiceClient>();
    services->SetServices(ChildOfType(environment, u"Services"));
    names_.Add(u"Core.RequestContextMgr", static_cast<IRequestContextMgr*>(contexts));
    names_.Add(u"Core.ServiceClient", static_cast<IServiceClient*>(services));
    static_cast<IRequestContextMgr*>(contexts)->Release();
    static_cast<IServiceClient*>(services)->Release();
    names_.Add(u"DataSourceManager", dataSources_.get());
    proxy_->SetTree(ChildOfType(environment, u"Config"));
    names_.Add(u"ConfigServer.Proxy", static_cast<IConfigSubscriptions*>(proxy_));
    names_.Add(u"Base.AppConfigStorage", static_cast<IConfigSubscriptions*>(proxy_));
    const std::u16string executor = catalog.GetString(u"queries_processor", u"");
    if (!executor.empty()) names_.Add(executor, static_cast<IQueryProcessor*>(printer_));
    names_.Install();
    module_.SetNamedInstanceProvider(&NamedInstanceTable::Provide);
    Check(module_.ModuleObject()->GetClassObject(kScriptwrightClassId, IConfigurable::kIid,
                                                 preparer_.ReceiveVoid()));
  }

  ~Host() {
    if (preparer_) preparer_.As<IShutdown>()->Shutdown();
    proxy_->Clear();
    preparer_ = CompPtr<IConfigurable>();
    module_.SetNamedInstanceProvider(nullptr);
    static_cast<IConfigSubscriptions*>(proxy_)->Release();
    static_cast<IQueryProcessor*>(printer_)->Release();
  }

  HRESULT Configure(const VXNodePtr& catalog) { return preparer_->Configure(catalog); }
  void NotifyModified() { proxy_->NotifyModified(); }
  HRESULT Process(const VXNodePtr& query) { return preparer_.As<IQueryProcessor>()->ProcessQuery(query); }

 private:
  ModuleLoader module_;
  NamedInstanceTable names_;
  CompPtr<IDataSourceManager> dataSources_;
  CComponentObject<CHostConfigProxy>* proxy_;
  CComponentObject<CCommandPrinter>* printer_;
  CompPtr<IConfigurable> preparer_;
};

// Prepares each request of one file; false if any failed.
bool PrepareFile(Host& host, const std::string& path, CatalogWatch* watch, std::ostream& err) {
  std::vector<VXNodePtr> requests;
  if (!ReadNodes(path, requests, err)) return false;
  bool ok = true;
  for (const auto& request : requests) {
    if (watch) watch->Check(err);
    const HRESULT status = host.Process(request);
    if (Failed(status)) {
      PrintFailure(err, path, status);
      ok = false;
    }
  }
  return ok;
}

}  // namespace

int RunPrepareJob(const PrepareOptions& options, std::ostream& out, std::ostream& err) {
  std::vector<VXNodePtr> catalog;
  if (!ReadNodes(options.catalog, catalog, err)) return 1;
  if (catalog.empty()) {
    err << options.catalog << ": the file holds no catalogue node\n";
    return 1;
  }
  std::vector<VXNodePtr> environment;
  if (!options.environment.empty() && !ReadNodes(options.environment, environment, err)) return 1;
  const VXNodePtr environmentNode = environment.empty() ? VXNodePtr() : environment.front();
  VXNodePtr caller;
  try {
    caller = Caller(environmentNode, options.as);
  } catch (const HRX& failure) {
    PrintFailure(err, options.environment.empty() ? std::string("--as") : options.environment, failure.Report());
    return 1;
  }
  try {
    Host host(catalog.front(), environmentNode, caller, out, options.xml);
    const HRESULT status = host.Configure(catalog.front());
    if (Failed(status)) {
      PrintFailure(err, options.catalog, status);
      return 1;
    }
    std::optional<CatalogWatch> watch;
    if (options.watch) watch.emplace(options.catalog, catalog.front(), [&host] { host.NotifyModified(); });
    bool ok = true;
    for (const auto& path : options.requests) ok = PrepareFile(host, path, watch ? &*watch : nullptr, err) && ok;
    out.flush();
    return ok ? 0 : 1;
  } catch (const HRX& failure) {
    PrintFailure(err, options.catalog, failure.Report());
    return 1;
  }
}
