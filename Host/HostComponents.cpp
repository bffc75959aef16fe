#include "Host/HostComponents.h"

#include <algorithm>
#include <iterator>

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

namespace {

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

}  // namespace

HRESULT CHostDataSourceManager::AddObserver(ITriggerObserver* observer) {
  if (!observer) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  observers_.emplace_back(observer);
  return S_OK;
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
  if (!previous) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  *previous = Current(kind);
  contexts_[{std::this_thread::get_id(), kind}] = context;
  return S_OK;
}

HRESULT CHostRequestContextMgr::GetContext(int32_t kind, const VXNodePtr&, VXNodePtr* context) {
  if (!context) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  *context = Current(kind);
  return S_OK;
}

namespace {

// One service of the environment, answering from its replies.
class CHostServiceProxy : public CComponentBase, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceProxy>;
  void SetService(const VXNodePtr& service) { service_ = service; }

  HRESULT Call(const VXNodePtr& request, VXNodePtr* response) override {
    if (!request || !response) return E_INVALIDARG;
    const std::u16string type = request.GetType();
    for (uint32_t i = 0; i < service_.ChildCount(); ++i) {
      VXNodePtr reply = service_.ChildAt(i);
      if (reply.GetType() != u"Reply" || reply.GetString(u"Request", u"") != type ||
          reply.ChildCount() == 0)
        continue;
      *response = reply.ChildAt(0).Clone();
      return S_OK;
    }
    return ReportError(E_NOTFOUND, u": the service has no reply to " + type);
  }

 private:
  VXNodePtr service_;
};

}  // namespace

HRESULT CHostServiceClient::OpenService(const char16_t* url, uint32_t, const GUID& iid,
                                        void** proxy) {
  if (!url || !proxy) return E_INVALIDARG;
  *proxy = nullptr;
  for (uint32_t i = 0; services_ && i < services_.ChildCount(); ++i) {
    VXNodePtr service = services_.ChildAt(i);
    if (service.GetString(u"Url", u"") != url) continue;
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

}  // namespace

HRESULT CHostConfigProxy::FindNodes(const VXNodePtr& filter, IConfigCursor** cursor,
                                    VXNodePtr* nodes, uint32_t count, uint32_t* returned) {
  if (!filter || !returned || (!nodes && count)) return E_INVALIDARG;
  *returned = 0;
  if (cursor) *cursor = nullptr;
  VXNodePtr at = tree_;
  const std::u16string path = filter.GetString(u"NodePath");
  for (size_t start = 0; at && start < path.size();) {
    size_t end = path.find(u'\\', start);
    if (end == std::u16string::npos) end = path.size();
    if (end > start) at = at.GetChild(path.substr(start, end - start));
    start = end + 1;
  }
  std::vector<VXNodePtr> found;
  if (at) {
    const auto depth = static_cast<uint32_t>(
        std::min<int64_t>(filter.GetInt64(u"MaxDepth", 0), VXNodePtr::kWholeTree));
    if (filter.GetBool(u"IsParent", false)) {
      at.ForEachChild([&](const VXNodePtr& child) {
        found.push_back(child.Clone(depth == 0 ? 0 : depth - 1));
      });
    } else {
      found.push_back(at.Clone(depth));
    }
  }
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
  return S_OK;
}
