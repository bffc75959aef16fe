#pragma once

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <thread>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/DiagnosticsInterfaces.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Logger.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "Host/HostDataSources.h"
#include "Host/HostPermissions.h"
#include "Host/ServiceReplies.h"

// The named components the command-line host serves to the library, in place
// of a server's own.

// True when `a` and `b` are interfaces of the same object.
bool SameObject(IComponent* a, IComponent* b);

// Takes the entries of `observers` that are interfaces of `component` out of
// it; the caller lets go of them once it no longer holds its lock.
template <typename I>
std::vector<CompPtr<I>> TakeObject(std::vector<CompPtr<I>>& observers, IComponent* component) {
  const auto gone = std::stable_partition(
      observers.begin(), observers.end(),
      [&](const CompPtr<I>& observer) { return !SameObject(observer.get(), component); });
  std::vector<CompPtr<I>> taken(std::make_move_iterator(gone),
                                std::make_move_iterator(observers.end()));
  observers.erase(gone, observers.end());
  return taken;
}

// "DataSourceManager": keeps its observers, and answers GetDataSource from
// the environment's `DataSources` (HostDataSources tells how). The observer
// list is thread-safe; the data sources are set before the library is
// configured and only read afterwards.
class CHostDataSourceManager : public CComponentBase, public IDataSourceManager, public IDataSources {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IDataSources>;
  void SetDataSources(std::shared_ptr<const HostDataSources> dataSources) {
    dataSources_ = std::move(dataSources);
  }
  HRESULT AddObserver(ITriggerObserver* observer) override;
  // The library's GetDataSource(id, node, 1); no data sources set: none.
  HRESULT GetDataSource(std::u16string_view id, VXNodePtr* node, uint32_t flags) override;
  // Lets go of every registration of `component`.
  void RemoveObserver(IComponent* component);
  // Observers hold the component that holds this manager: let go of them.
  void Clear();

 private:
  std::shared_ptr<const HostDataSources> dataSources_ =
      std::make_shared<const HostDataSources>(VXNodePtr());
  std::mutex lock_;
  std::vector<CompPtr<ITriggerObserver>> observers_;  // guarded by lock_
};

// "Security.PermissionsChecker": answers from the environment's
// `Permissions` (HostPermissions).
class CHostPermissionsChecker : public CComponentBase, public IPermissionsChecker {
 public:
  using Interfaces = std::tuple<IPermissionsChecker>;
  void SetPermissions(std::shared_ptr<const HostPermissions> permissions) { permissions_ = std::move(permissions); }
  HRESULT CheckAccess(const VXNodePtr& token, const char16_t* permission, AccessCheckResult* result,
                      VXNodePtr* scope) override;

 private:
  std::shared_ptr<const HostPermissions> permissions_;
};

// "ConfigServer.Proxy" or "Base.AppConfigStorage" (one object for each,
// `name` tells which in the log): keeps the configuration observers, which
// the host tells of changes with NotifyModified, and finds nodes by path in
// the environment's `Config` tree, whose root stands for the path "\". A
// `MaxDepth` below 0 brings the whole subtree along. Each FindNodes and
// FindMore is logged at DBG ("<name> FindNodes(<path>, IsParent <b>, MaxDepth
// <n>): <count> node(s)"). Thread-safe: the tree, a copy of the proxy's own,
// is set before the library is configured and read under a lock afterwards.
class CHostConfigProxy : public CComponentBase,
                         public IConfigSubscriptions,
                         public IConfigSubscription,
                         public IConfigNodes {
 public:
  using Interfaces = std::tuple<IConfigSubscriptions, IConfigSubscription, IConfigNodes>;
  // Keeps a copy of `tree` (null: an empty configuration).
  void SetTree(const VXNodePtr& tree, std::u16string name = u"ConfigServer.Proxy") {
    tree_ = tree ? tree.Clone() : VXNodePtr();
    name_ = std::move(name);
  }
  HRESULT FindNodes(const VXNodePtr& filter, IConfigCursor** cursor, VXNodePtr* nodes,
                    uint32_t count, uint32_t* returned) override;
  HRESULT FindMore(IConfigCursor* cursor, VXNodePtr* nodes, uint32_t count,
                   uint32_t* returned) override;
  HRESULT Subscribe(const VXNodePtr& filter, const VXNodePtr& subscription,
                    IConfigObserver* observer, IConfigSubscription** out) override;
  HRESULT Start() override { return S_OK; }
  void NotifyModified();
  // Lets go of every subscription of `component`.
  void RemoveObserver(IComponent* component);
  // Observers hold the component that holds this proxy: let go of them.
  void Clear();

 private:
  std::mutex lock_;
  std::vector<CompPtr<IConfigObserver>> observers_;  // guarded by lock_
  std::mutex treeLock_;
  VXNodePtr tree_;  // read under treeLock_
  std::u16string name_ = u"ConfigServer.Proxy";
};

// The executing component: prints each prepared query, as the commands'
// SQL with their flags or, with `xml`, as the whole request tree.
class CCommandPrinter : public CComponentBase, public IQueryProcessor {
 public:
  using Interfaces = std::tuple<IQueryProcessor>;
  void SetOutput(std::ostream* out, bool xml) {
    out_ = out;
    xml_ = xml;
  }
  HRESULT ProcessQuery(const VXNodePtr& query) override;
  HRESULT CancelQuery(const VXNodePtr& cookie) override;

 private:
  std::ostream* out_ = nullptr;
  bool xml_ = false;
};

// Hands the lines of the library's log (ILogSink) to a logger of the host.
class CHostLogSink : public CComponentBase, public ILogSink {
 public:
  using Interfaces = std::tuple<ILogSink>;
  // Before the sink is handed to the library; `logger` outlives the sink.
  void SetLogger(Logger* logger) { logger_ = logger; }
  void Write(const char16_t* text, size_t length) override { logger_->Write(text, length); }

 private:
  Logger* logger_ = nullptr;
};

// Makes a host component with one reference held by the result.
template <typename T>
CComponentObject<T>* MakeHostComponent() {
  IComponent* made = nullptr;
  Check(CComponentObject<T>::Create(IComponent::kIid, reinterpret_cast<void**>(&made)));
  return static_cast<CComponentObject<T>*>(
      static_cast<std::tuple_element_t<0, typename T::Interfaces>*>(made));
}

// "Core.RequestContextMgr": each thread's contexts by kind; a thread that has
// set none acts for `caller` (a copy of the token picked with --as, or none).
// Each call is logged at DBG: "Core.RequestContextMgr ExchangeContext(<kind>)",
// and "Core.RequestContextMgr GetContext(<kind>): " with the context's
// description ("node Token 'auditor'") or "none".
class CHostRequestContextMgr : public CComponentBase, public IRequestContextMgr {
 public:
  using Interfaces = std::tuple<IRequestContextMgr>;
  void SetCaller(const VXNodePtr& caller) { caller_ = caller; }
  HRESULT ExchangeContext(int32_t kind, const VXNodePtr& context, VXNodePtr* previous) override;
  HRESULT GetContext(int32_t kind, const VXNodePtr& request, VXNodePtr* context) override;

 private:
  VXNodePtr Current(int32_t kind);  // under lock_

  VXNodePtr caller_;
  std::mutex lock_;
  std::map<std::pair<std::thread::id, int32_t>, VXNodePtr> contexts_;  // guarded by lock_
};

// "Core.ServiceClient": services by URL, each answering from the
// environment's canned replies (ServiceReplies tells how). OpenService for a
// URL that no service has fails with 0x80070490; the first service of a URL
// serves it. Every proxy of one URL shares its replies' turns. Each
// OpenService is logged at DBG ("Core.ServiceClient OpenService(<url>)").
// The services are set before the library is configured; afterwards the
// component may be called from any thread.
class CHostServiceClient : public CComponentBase, public IServiceClient {
 public:
  using Interfaces = std::tuple<IServiceClient>;
  void SetServices(std::vector<std::shared_ptr<ServiceReplies>> services) {
    services_ = std::move(services);
  }
  HRESULT OpenService(const char16_t* url, uint32_t flags, const GUID& iid, void** proxy) override;

 private:
  std::vector<std::shared_ptr<ServiceReplies>> services_;
};
