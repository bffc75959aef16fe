#include "QueriesProcessing/Membership/GroupMembershipPreprocessorActivator.h"

#include <chrono>

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"

namespace QueriesProcessing {

namespace {

const ClassRegistration<CGroupMembershipPreprocessorActivator> kRegistration(
    CGroupMembershipPreprocessorActivator::kClassId);

}  // namespace

void CGroupMembershipPreprocessorActivator::FinalRelease() {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CGroupMembershipPreprocessorActivator::FinalRelease");
  std::unique_ptr<CAsyncAction> action;
  {
    std::lock_guard lock(actionLock_);
    action = std::move(action_);
  }
  action.reset();  // joins: not under the lock, which an attempt takes
}

HRESULT CGroupMembershipPreprocessorActivator::Configure(const VXNodePtr& configuration) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessorActivator::Configure");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessorActivator::Configure", [&] {
    if (configureCalled_.exchange(true))
      ThrowError(E_INVALID_STATE, u": the component is configured already");
    ConfigureGuard guard(static_cast<IConfigurable*>(this), static_cast<IShutdown*>(this));
    if (!configuration) ThrowError(E_INVALIDARG, u": no configuration");
    const int32_t seconds = configuration.GetInt32(u"InitializeRetrySec");
    if (seconds < 0) ThrowError(E_INVALIDARG, u": InitializeRetrySec is negative");
    targetComponent_ = configuration.GetString(u"TargetComponent");
    std::lock_guard lock(actionLock_);
    if (shutDown_) ThrowError(E_SHUTTING_DOWN, u": the component is shut down");
    action_ = std::make_unique<CAsyncAction>(std::chrono::seconds(seconds), [this] { Activate(); });
    guard.Dismiss();
  });
}

void CGroupMembershipPreprocessorActivator::Activate() {
  CAsyncAction* action = nullptr;
  {
    // Also waits for Configure to have put the action in place.
    std::lock_guard lock(actionLock_);
    action = action_.get();
  }
  if (!action || action->IsStopped()) return;
  try {
    GetNamedInstance<IComponent>(targetComponent_);
    action->SetInterval(CAsyncAction::Duration::zero());
  } catch (const HRX& failure) {
    VX_LOG(Severity::DBG, u"Activation of " << targetComponent_ << u" failed: " << failure);
  }
}

HRESULT CGroupMembershipPreprocessorActivator::GetWeakReference(IWeakReference** out) {
  return ComponentBorder(
      "QueriesProcessing::CGroupMembershipPreprocessorActivator::GetWeakReference",
      [&] { return GetWeakReferenceFor(static_cast<IWeakReferenceSource*>(this), out); });
}

HRESULT CGroupMembershipPreprocessorActivator::Shutdown() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessorActivator::Shutdown");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessorActivator::Shutdown", [&] {
    std::lock_guard lock(actionLock_);
    shutDown_ = true;
    if (action_) action_->Stop();
  });
}

}  // namespace QueriesProcessing
