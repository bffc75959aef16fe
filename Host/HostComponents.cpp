#include "Host/HostComponents.h"

#include <algorithm>

#include "Common/ConfigPath.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Host/CommandPrinter.h"

bool SameObject(IComponent* a, IComponent* b) {
  CompPtr<IComponent> first;
  CompPtr<IComponent> second;
  if (!a || !b || Failed(a->QueryInterface(IComponent::kIid, first.ReceiveVoid())) ||
      Failed(b->QueryInterface(IComponent::kIid, second.ReceiveVoid()))) {
    return false;
  }
  return first.get() == second.get();
}

HRESULT CHostDataSourceManager::AddObserver(ITriggerObserver* observer) {
  VX_LOG(Severity::DBG, u"DataSourceManager AddObserver");
  if (!observer) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  observers_.emplace_back(observer);
  return S_OK;
}

HRESULT CHostDataSourceManager::GetDataSource(std::u16string_view id, VXNodePtr* node,
                                              uint32_t flags) {
  return dataSources_->GetDataSource(id, node, flags);
}

void CHostDataSourceManager::RemoveObserver(IComponent* component) {
  std::vector<CompPtr<ITriggerObserver>> gone;
  std::lock_guard guard(lock_);
  gone = TakeObject(observers_, component);
}

void CHostDataSourceManager::Clear() {
  std::vector<CompPtr<ITriggerObserver>> gone;
  std::lock_guard guard(lock_);
  gone.swap(observers_);
}

HRESULT CHostConfigProxy::Subscribe(const VXNodePtr&, const VXNodePtr&, IConfigObserver* observer,
                                    IConfigSubscription** out) {
  VX_LOG(Severity::DBG, name_ << u" Subscribe");
  if (!observer || !out) return E_INVALIDARG;
  {
    std::lock_guard guard(lock_);
    observers_.emplace_back(observer);
  }
  return static_cast<IConfigSubscription*>(this)->QueryInterface(IConfigSubscription::kIid,
                                                                 reinterpret_cast<void**>(out));
}

void CHostConfigProxy::NotifyModified() {
  std::vector<CompPtr<IConfigObserver>> observers;
  {
    std::lock_guard guard(lock_);
    observers = observers_;
  }
  // Not under the lock: an observer may subscribe or go while it is told.
  for (const auto& observer : observers) observer->OnModify(VXNodePtr());
}

void CHostConfigProxy::RemoveObserver(IComponent* component) {
  std::vector<CompPtr<IConfigObserver>> gone;
  std::lock_guard guard(lock_);
  gone = TakeObject(observers_, component);
}

void CHostConfigProxy::Clear() {
  std::vector<CompPtr<IConfigObserver>> gone;
  std::lock_guard guard(lock_);
  gone.swap(observers_);
}

HRESULT CCommandPrinter::ProcessQuery(const VXNodePtr& query) {
  if (out_) *out_ << (xml_ ? WriteNodeText({query}) : RenderCommands(query));
  return S_OK;
}

HRESULT CCommandPrinter::CancelQuery(const VXNodePtr&) { return S_OK; }

VXNodePtr CHostRequestContextMgr::Current(int32_t kind) {
  auto it = contexts_.find({std::this_thread::get_id(), kind});
  return it == contexts_.end() ? caller_ : it->second;
}

HRESULT CHostRequestContextMgr::ExchangeContext(int32_t kind, const VXNodePtr& context,
                                                VXNodePtr* previous) {
  VX_LOG(Severity::DBG, u"Core.RequestContextMgr ExchangeContext(" << kind << u")");
  if (!previous) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  *previous = Current(kind);
  contexts_[{std::this_thread::get_id(), kind}] = context;
  return S_OK;
}

HRESULT CHostRequestContextMgr::GetContext(int32_t kind, const VXNodePtr&, VXNodePtr* context) {
  if (!context) return E_INVALIDARG;
  {
    std::lock_guard guard(lock_);
    *context = Current(kind);
  }
  VX_LOG(Severity::DBG, u"Core.RequestContextMgr GetContext("
                            << kind << u"): " << (*context ? context->Describe() : u"none"));
  return S_OK;
}

namespace {

// One proxy of a service of the environment.
class CHostServiceProxy : public CComponentBase, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceProxy>;
  void SetService(std::shared_ptr<ServiceReplies> service) { service_ = std::move(service); }
  HRESULT Call(const VXNodePtr& request, VXNodePtr* response) override {
    return service_->Call(request, response);
  }

 private:
  std::shared_ptr<ServiceReplies> service_;
};

}  // namespace

HRESULT CHostServiceClient::OpenService(const char16_t* url, uint32_t, const GUID& iid,
                                        void** proxy) {
  if (!url || !proxy) return E_INVALIDARG;
  *proxy = nullptr;
  VX_LOG(Severity::DBG, u"Core.ServiceClient OpenService(" << url << u")");
  for (const auto& service : services_) {
    if (service->Url() != url) continue;
    CComponentObject<CHostServiceProxy>* made = MakeHostComponent<CHostServiceProxy>();
    made->SetService(service);
    const HRESULT status = static_cast<IServiceProxy*>(made)->QueryInterface(iid, proxy);
    static_cast<IServiceProxy*>(made)->Release();
    return status;
  }
  return ReportError(E_NOTFOUND, u": no service at " + std::u16string(url));
}

namespace {

// What is left of a search.
class CHostConfigCursor : public CComponentBase, public IConfigCursor {
 public:
  using Interfaces = std::tuple<IConfigCursor>;
  std::vector<VXNodePtr> pending;
  size_t next = 0;
};

void HandOut(std::vector<VXNodePtr>& found, size_t& next, VXNodePtr* nodes, uint32_t count,
             uint32_t* returned) {
  uint32_t n = 0;
  for (; n < count && next < found.size(); ++n) nodes[n] = found[next++];
  *returned = n;
}

// Levels of children that come along: a negative MaxDepth means all.
uint32_t DepthOf(const VXNodePtr& filter) {
  const int64_t depth = filter.GetInt64(u"MaxDepth", 0);
  if (depth < 0) return VXNodePtr::kWholeTree;
  return static_cast<uint32_t>(std::min<int64_t>(depth, VXNodePtr::kWholeTree));
}

std::vector<VXNodePtr> Search(const VXNodePtr& at, bool isParent, uint32_t depth) {
  std::vector<VXNodePtr> found;
  if (!at) return found;
  if (!isParent) {
    found.push_back(at.Clone(depth));
    return found;
  }
  at.ForEachChild(
      [&](const VXNodePtr& child) { found.push_back(child.Clone(depth == 0 ? 0 : depth - 1)); });
  return found;
}

}  // namespace

HRESULT CHostConfigProxy::FindNodes(const VXNodePtr& filter, IConfigCursor** cursor,
                                    VXNodePtr* nodes, uint32_t count, uint32_t* returned) {
  if (!filter || !returned || (!nodes && count)) return E_INVALIDARG;
  *returned = 0;
  if (cursor) *cursor = nullptr;
  const std::u16string path = filter.GetString(u"NodePath");
  const bool isParent = filter.GetBool(u"IsParent", false);
  const uint32_t depth = DepthOf(filter);
  std::vector<VXNodePtr> found;
  {
    std::lock_guard guard(treeLock_);
    found = Search(NodeAtPath(tree_, path), isParent, depth);
  }
  VX_LOG(Severity::DBG, name_ << u" FindNodes(" << path << u", IsParent " << isParent
                              << u", MaxDepth " << filter.GetInt64(u"MaxDepth", 0) << u"): "
                              << found.size() << u" node(s)");
  size_t next = 0;
  HandOut(found, next, nodes, count, returned);
  if (!cursor) return S_OK;
  auto* rest = MakeHostComponent<CHostConfigCursor>();
  rest->pending = std::move(found);
  rest->next = next;
  *cursor = rest;
  return S_OK;
}

HRESULT CHostConfigProxy::FindMore(IConfigCursor* cursor, VXNodePtr* nodes, uint32_t count,
                                   uint32_t* returned) {
  if (!cursor || !returned || (!nodes && count)) return E_INVALIDARG;
  auto* rest = static_cast<CHostConfigCursor*>(cursor);
  HandOut(rest->pending, rest->next, nodes, count, returned);
  VX_LOG(Severity::DBG, name_ << u" FindMore(" << count << u"): " << *returned << u" node(s)");
  return S_OK;
}

HRESULT CHostPermissionsChecker::CheckAccess(const VXNodePtr& token, const char16_t* permission,
                                             AccessCheckResult* result, VXNodePtr* scope) {
  if (!permission || !result || !scope) return E_POINTER;
  int32_t answer = kAccessMissing;
  const HRESULT status = permissions_ ? permissions_->CheckAccess(token, permission, &answer, scope) : S_OK;
  *result = static_cast<AccessCheckResult>(answer);
  return status;
}
