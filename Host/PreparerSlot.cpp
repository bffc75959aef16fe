#include "Host/PreparerSlot.h"

#include <utility>

#include "Common/Components/ServerInterfaces.h"

namespace {

// The preparer component's class.
const GUID kScriptwrightClassId = MakeGuid(u"{772DD3A6-C1F8-4AB9-A4C7-4D46A84131C3}");

}  // namespace

PreparerSlot::PreparerSlot(CompPtr<IModuleObject> module, const LibraryDiagnostics& diagnostics,
                           std::function<void(IComponent*)> retire)
    : module_(std::move(module)), diagnostics_(diagnostics), retire_(std::move(retire)) {}

PreparerSlot::~PreparerSlot() { Retire(current_); }

HRESULT PreparerSlot::Load(const VXNodePtr& catalog, std::string& failure) {
  HRESULT status = S_OK;
  CompPtr<IConfigurable> fresh = Configured(catalog, status, failure);
  if (fresh) {
    Replace(std::move(fresh), catalog.Clone());
    return S_OK;
  }
  if (!current_) return status;
  HRESULT restoreStatus = S_OK;
  std::string restoreFailure;
  CompPtr<IConfigurable> restored = Configured(catalog_, restoreStatus, restoreFailure);
  if (restored) Replace(std::move(restored), catalog_);
  return status;
}

HRESULT PreparerSlot::Process(const VXNodePtr& query, std::string& failure) {
  return Call(failure, [&](IQueryProcessor& preparer) { return preparer.ProcessQuery(query); });
}

HRESULT PreparerSlot::Cancel(const VXNodePtr& request, std::string& failure) {
  return Call(failure, [&](IQueryProcessor& preparer) { return preparer.CancelQuery(request); });
}

HRESULT PreparerSlot::Call(std::string& failure,
                           const std::function<HRESULT(IQueryProcessor&)>& call) {
  if (!current_) {
    failure = FormatFailure(E_INVALIDARG, nullptr);
    return E_INVALIDARG;
  }
  const HRESULT status = call(*current_.As<IQueryProcessor>().get());
  if (Failed(status)) failure = diagnostics_.FailureText(status);
  return status;
}

CompPtr<IConfigurable> PreparerSlot::Configured(const VXNodePtr& catalog, HRESULT& status,
                                                std::string& failure) {
  CompPtr<IConfigurable> fresh;
  status = module_->GetClassObject(kScriptwrightClassId, IConfigurable::kIid, fresh.ReceiveVoid());
  if (Succeeded(status)) status = fresh->Configure(catalog.Clone());
  if (Succeeded(status)) return fresh;
  failure = diagnostics_.FailureText(status);
  Retire(fresh);
  return CompPtr<IConfigurable>();
}

void PreparerSlot::Replace(CompPtr<IConfigurable> fresh, const VXNodePtr& catalog) {
  std::swap(current_, fresh);
  catalog_ = catalog;
  Retire(fresh);
}

void PreparerSlot::Retire(CompPtr<IConfigurable>& preparer) {
  if (!preparer) return;
  if (auto shutdown = preparer.As<IShutdown>()) shutdown->Shutdown();
  if (retire_) retire_(preparer.get());
  preparer = CompPtr<IConfigurable>();
}
