#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"

#include <chrono>

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"

namespace QueriesProcessing {

namespace {

const ClassRegistration<CScriptwright> kRegistration(CScriptwright::kClassId);

constexpr std::u16string_view kSettingsPath = u"\\Tallyvane\\ReportingSettingsHistory";
constexpr int32_t kChangesMask = 31;
constexpr int32_t kSubscribeOptions = 6;

}  // namespace

HRESULT CScriptwright::Configure(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::Configure");
  return OperationFrame("QueriesProcessing::CScriptwright::Configure", [&] {
    ConfigureGuard guard(static_cast<IConfigurable*>(this), static_cast<IShutdown*>(this));
    VX_LOG(Severity::DBG, u"Subcribe to DatasourceManager...");
    Check(GetNamedInstance<IDataSourceManager>(u"DataSourceManager")->AddObserver(static_cast<ITriggerObserver*>(this)));
    config_ = config;
    Check(engine_->Initialize(config));
    VX_LOG(Severity::DBG, u"Load QueriesProcessor...");
    target_ = GetNamedInstance<IQueryProcessor>(config.GetString(u"queries_processor"));
    Subscribe();
    reinitThread_ = std::thread([this] { ReinitializeThread(); });
    guard.Dismiss();
  });
}

void CScriptwright::Subscribe() {
  VX_LOG(Severity::DBG, u"AddSubscription(Path:" << kSettingsPath << u" Mask:" << kChangesMask << u")");
  VXNodePtr filter = VXNodePtr::Create(u"", u"FilterByPath");
  filter.SetString(u"NodePath", kSettingsPath);
  filter.SetBool(u"IsParent", false);
  filter.SetInt64(u"MaxDepth", 0x7FFFFFFF);
  VXNodePtr subscription = VXNodePtr::Create(u"SubscribeConfig");
  subscription.SetInt32(u"ChangesMask", kChangesMask);
  subscription.SetInt32(u"SubscribeOptions", kSubscribeOptions);
  VX_LOG(Severity::DBG, u"Subcribe to Configuration...");
  auto proxy = GetNamedInstance<IConfigSubscriptions>(u"ConfigServer.Proxy");
  CompPtr<IConfigSubscription> started;
  Check(proxy->Subscribe(filter, subscription, static_cast<IConfigObserver*>(this), started.Receive()));
  Check(started->Start());
}

void CScriptwright::ReinitializeThread() {
  std::unique_lock lock(eventsLock_);
  for (;;) {
    eventsChanged_.wait(lock, [this] { return reinitEvent_ || stopEvent_; });
    // Stop wins over a pending rebuild, so that Shutdown ends the retries of
    // a catalogue that keeps failing.
    if (stopEvent_) return;
    reinitEvent_ = false;
    lock.unlock();
    try {
      VX_LOG(Severity::DBG, u"Initialize signled...");
      const HRESULT status = engine_->Initialize(config_);
      if (Failed(status)) {
        SignalReinit();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Check(status);
      }
    } catch (const HRX& failure) {
      VX_LOG(Severity::ERR, u"QueriesProcessing::CScriptwright::ReinitializeThread" << u" failed: "
                                                                                    << FormatStatus(failure, 0));
    }
    lock.lock();
  }
}

void CScriptwright::SignalReinit() {
  std::lock_guard lock(eventsLock_);
  reinitEvent_ = true;
  eventsChanged_.notify_all();
}

HRESULT CScriptwright::ProcessQuery(const VXNodePtr& query) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::ProcessQuery");
  return OperationFrame("QueriesProcessing::CScriptwright::ProcessQuery", [&] {
    VX_LOG(Severity::DBG, u"Query:" << query);
    if (!query || query.GetType() != u"Query") ThrowError(E_INVALIDARG, u": the request is not a Query node");
    VXNodePtr request = query;
    Check(engine_->Prepare(request));
    if (!target_) ThrowError(E_INVALIDARG, u": the component is not configured");
    Check(target_->ProcessQuery(query));
  });
}

HRESULT CScriptwright::CancelQuery(const VXNodePtr& cookie) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::CancelQuery");
  return OperationFrame("QueriesProcessing::CScriptwright::CancelQuery", [&] {
    VX_LOG(Severity::DBG, u"Cookie:" << cookie);
    if (!cookie || cookie.GetType() != u"Cookie") ThrowError(E_INVALIDARG, u": the cancel request is not a Cookie node");
    if (!target_) ThrowError(E_INVALIDARG, u": the component is not configured");
    Check(target_->CancelQuery(cookie));
  });
}

HRESULT CScriptwright::OnModify(const VXNodePtr&) {
  SignalReinit();
  return S_OK;
}

HRESULT CScriptwright::OnAdded(const VXNodePtr&) {
  SignalReinit();
  return S_OK;
}

HRESULT CScriptwright::OnRemoved(const VXNodePtr&) {
  SignalReinit();
  return S_OK;
}

HRESULT CScriptwright::OnTriggered(const VXNodePtr&) {
  SignalReinit();
  return S_OK;
}

HRESULT CScriptwright::GetWeakReference(IWeakReference** out) {
  return GetWeakReferenceFor(static_cast<IConfigurable*>(this), out);
}

HRESULT CScriptwright::Shutdown() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::Shutdown");
  {
    std::lock_guard lock(eventsLock_);
    stopEvent_ = true;
    eventsChanged_.notify_all();
  }
  if (reinitThread_.joinable() && reinitThread_.get_id() != std::this_thread::get_id()) reinitThread_.join();
  return S_OK;
}

void CScriptwright::FinalRelease() { Shutdown(); }

}  // namespace QueriesProcessing
