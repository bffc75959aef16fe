#include "Common/ServiceLayer/RequestContext.h"

#include "Common/Components/NamedInstances.h"
#include "Common/Logger.h"

namespace {

constexpr char16_t kManagerName[] = u"Core.RequestContextMgr";

// The manager, or null when the host has none.
CompPtr<IRequestContextMgr> FindManager() {
  CompPtr<IRequestContextMgr> manager;
  const HRESULT status = AxGetNamedInstance(kManagerName, 0, IRequestContextMgr::kIid, manager.ReceiveVoid());
  if (status == E_NOTFOUND) return CompPtr<IRequestContextMgr>();
  Check(status);
  return manager;
}

}  // namespace

RequestContext::RequestContext(const VXNodePtr& context) : context_(context) {
  manager_ = FindManager();
  if (manager_) Check(manager_->ExchangeContext(kind_, context_, &previous_));
}

RequestContext::~RequestContext() {
  if (!manager_) return;
  VXNodePtr ignored;
  const HRESULT status = manager_->ExchangeContext(kind_, previous_, &ignored);
  if (Failed(status)) VX_LOG(Severity::WARN, u"Unable to restore old context" << u" " << FormatStatus(HRES::Quiet(status)));
}

VXNodePtr GetCurrentContext(int32_t kind) {
  CompPtr<IRequestContextMgr> manager = FindManager();
  if (!manager) return VXNodePtr();
  VXNodePtr context;
  Check(manager->GetContext(kind, VXNodePtr(), &context));
  return context;
}
