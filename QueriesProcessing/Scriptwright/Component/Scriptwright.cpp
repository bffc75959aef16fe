#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"

#include <chrono>

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/Nodes/TreeDepth.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

const ClassRegistration<CScriptwright> kRegistration(CScriptwright::kClassId);

constexpr std::u16string_view kSettingsPath = u"\\Tallyvane\\ReportingSettingsHistory";
constexpr int32_t kChangesMask = 31;
constexpr int32_t kSubscribeOptions = 6;

// Refuses a tree too deep for the recursive walks behind this component.
void RefuseDeepTree(const VXNodePtr& node, std::u16string_view what) {
  if (!TreeDeeperThan(node.get(), kMaxTreeDepth)) return;
  ThrowError(E_INVALID_DATA, u": the " + std::u16string(what) + u" is deeper than " +
                                 ToText(kMaxTreeDepth) + u" levels");
}

}  // namespace

HRESULT CScriptwright::Configure(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::Configure");
  return ComponentBorder("QueriesProcessing::CScriptwright::Configure", [&] {
    RefuseIfShutDown();
    // Checked ahead of the guard: a refused second call must not shut down
    // the component that the first one configured.
    if (configureCalled_.exchange(true))
      ThrowError(E_INVALID_STATE, u": the component is configured already");
    ConfigureGuard guard(static_cast<IConfigurable*>(this), static_cast<IShutdown*>(this));
    VX_LOG(Severity::DBG, u"Subcribe to DatasourceManager...");
    Check(GetNamedInstance<IDataSourceManager>(u"DataSourceManager")
              ->AddObserver(static_cast<ITriggerObserver*>(this)));
    config_ = config;
    Check(engine_->Initialize(config));
    VX_LOG(Severity::DBG, u"Load QueriesProcessor...");
    target_ = GetNamedInstance<IQueryProcessor>(config.GetString(u"queries_processor"));
    Subscribe();
    StartReinitializeThread();
    configured_ = true;
    guard.Dismiss();
  });
}

void CScriptwright::Subscribe() {
  VX_LOG(Severity::DBG,
         u"AddSubscription(Path:" << kSettingsPath << u" Mask:" << kChangesMask << u")");
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
  Check(proxy->Subscribe(filter, subscription, static_cast<IConfigObserver*>(this),
                         started.Receive()));
  Check(started->Start());
}

void CScriptwright::StartReinitializeThread() {
  std::lock_guard lock(eventsLock_);
  // A Shutdown that came during Configure would find no thread to join.
  if (stopEvent_) ThrowError(E_SHUTTING_DOWN, u": the component was shut down during Configure");
  reinitThread_ = std::thread([this] { ReinitializeThread(); });
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
    // The border, not an HRX handler alone: an exception escaping this thread
    // would end the process, and any failure, thrown or returned, is retried.
    const HRESULT status =
        ComponentBorder("QueriesProcessing::CScriptwright::ReinitializeThread", [&] {
          VX_LOG(Severity::DBG, u"Initialize signled...");
          Check(engine_->Initialize(config_));
        });
    lock.lock();
    if (Succeeded(status)) continue;
    reinitEvent_ = true;
    eventsChanged_.wait_for(lock, std::chrono::milliseconds(100),
                            [this] { return stopEvent_.load(); });
  }
}

void CScriptwright::SignalReinit() {
  std::lock_guard lock(eventsLock_);
  reinitEvent_ = true;
  eventsChanged_.notify_all();
}

void CScriptwright::RefuseIfShutDown() const {
  if (stopEvent_) ThrowError(E_SHUTTING_DOWN, u": the component is shut down");
}

void CScriptwright::RefuseUnlessConfigured() const {
  if (!configured_) ThrowError(E_INVALID_STATE, u": the component is not configured");
}

HRESULT CScriptwright::ProcessQuery(const VXNodePtr& query) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::ProcessQuery");
  return ComponentBorder("QueriesProcessing::CScriptwright::ProcessQuery", [&] {
    RefuseIfShutDown();
    RefuseDeepTree(query, u"request");
    VX_LOG(Severity::DBG, u"Query:" << query);
    if (!query || query.GetType() != u"Query")
      ThrowError(E_INVALIDARG, u": the request is not a Query node");
    RefuseUnlessConfigured();
    VXNodePtr request = query;
    Check(engine_->Prepare(request));
    RefuseIfShutDown();  // Shutdown began during the preparation
    Check(target_->ProcessQuery(query));
  });
}

HRESULT CScriptwright::CancelQuery(const VXNodePtr& cookie) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::CancelQuery");
  return ComponentBorder("QueriesProcessing::CScriptwright::CancelQuery", [&] {
    RefuseIfShutDown();
    RefuseDeepTree(cookie, u"cancel request");
    VX_LOG(Severity::DBG, u"Cookie:" << cookie);
    if (!cookie || cookie.GetType() != u"Cookie")
      ThrowError(E_INVALIDARG, u": the cancel request is not a Cookie node");
    RefuseUnlessConfigured();
    Check(target_->CancelQuery(cookie));
  });
}

HRESULT CScriptwright::OnModify(const VXNodePtr&) {
  return ComponentBorder("QueriesProcessing::CScriptwright::OnModify", [&] { SignalReinit(); });
}

HRESULT CScriptwright::OnAdded(const VXNodePtr&) {
  return ComponentBorder("QueriesProcessing::CScriptwright::OnAdded", [&] { SignalReinit(); });
}

HRESULT CScriptwright::OnRemoved(const VXNodePtr&) {
  return ComponentBorder("QueriesProcessing::CScriptwright::OnRemoved", [&] { SignalReinit(); });
}

HRESULT CScriptwright::OnTriggered(const VXNodePtr&) {
  return ComponentBorder("QueriesProcessing::CScriptwright::OnTriggered", [&] { SignalReinit(); });
}

HRESULT CScriptwright::GetWeakReference(IWeakReference** out) {
  return ComponentBorder("QueriesProcessing::CScriptwright::GetWeakReference", [&] {
    return GetWeakReferenceFor(static_cast<IConfigurable*>(this), out);
  });
}

HRESULT CScriptwright::Shutdown() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CScriptwright::Shutdown");
  return ComponentBorder("QueriesProcessing::CScriptwright::Shutdown", [&] {
    std::thread thread;
    {
      std::lock_guard lock(eventsLock_);
      stopEvent_ = true;
      thread = std::move(reinitThread_);
      eventsChanged_.notify_all();
    }
    if (!thread.joinable()) return;
    // Never reached from the thread itself today; a thread cannot join itself.
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  });
}

void CScriptwright::FinalRelease() { Shutdown(); }

}  // namespace QueriesProcessing
