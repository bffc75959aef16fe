#include "QueriesProcessing/Membership/GroupMembershipPreprocessor.h"

#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include "Common/Components/NamedInstances.h"
#include "Common/Components/SqlStorageInterfaces.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeCompare.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/Nodes/TreeDepth.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

const ClassRegistration<CGroupMembershipPreprocessor> kRegistration(
    CGroupMembershipPreprocessor::kClassId);

constexpr char16_t kInGroupTable[] = u"GroupMembershipWhoInGroupTable";
constexpr char16_t kNotInGroupTable[] = u"GroupMembershipWhoNotInGroupTable";

// The settings service's current settings: a node of the caller's, or null.
VXNodePtr ReadCommonDbSettings(const std::u16string& serviceName) {
  VXNodePtr settings;
  Check(GetNamedInstance<IDatabaseSettingsService>(serviceName)->GetCommonDbSettings(&settings));
  return settings;
}

// An optional unsigned 64-bit attribute: none when absent or of type 0.
std::optional<uint64_t> OptionalUInt64(const VXNodePtr& node, std::u16string_view name) {
  const auto type = node.GetAttributeType(name);
  if (!type || *type == VXN_EMPTY) return std::nullopt;
  uint32_t asked = VXN_UINT64;
  const std::vector<uint8_t> raw = node.GetRaw(name, asked);
  uint64_t value = 0;
  if (raw.size() != sizeof(value)) ThrowError(E_INVALIDARG, u": " + std::u16string(name));
  std::memcpy(&value, raw.data(), sizeof(value));
  return value;
}

// A GUID attribute, or the all-zero GUID when it is absent or of type 0.
GUID GuidOrZero(const VXNodePtr& node, std::u16string_view name) {
  const auto type = node.GetAttributeType(name);
  if (!type || *type == VXN_EMPTY) return GUID{};
  return node.GetGuid(name);
}

void RefuseMissing(const VXNodePtr& node, std::u16string_view what) {
  if (!node) ThrowError(E_INVALIDARG, u": no " + std::u16string(what));
}

// The request walks of the conditions recurse: a deeper tree is refused
// before any of them starts.
void RefuseDeepTree(const VXNodePtr& request) {
  if (!TreeDeeperThan(request.get(), kMaxTreeDepth)) return;
  ThrowError(E_INVALID_DATA,
             u": the request is deeper than " + ToText(kMaxTreeDepth) + u" levels");
}

std::vector<std::u16string> Names(const MemberSet& members) {
  return {members.begin(), members.end()};
}

}  // namespace

HRESULT CGroupMembershipPreprocessor::FinalConstruct() {
  VX_LOG(Severity::DBG, u"QueriesProcessing::CGroupMembershipPreprocessor::FinalConstruct");
  return S_OK;
}

void CGroupMembershipPreprocessor::FinalRelease() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::FinalRelease");
  std::unique_ptr<CAsyncAction> action;
  {
    std::lock_guard lock(managerLock_);
    action = std::move(initializeAction_);
  }
  // Joins the action's thread: not under the lock, which its work takes.
  action.reset();
}

HRESULT CGroupMembershipPreprocessor::Configure(const VXNodePtr& configuration) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::Configure");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::Configure", [&] {
    if (shuttingDown_) ThrowError(E_SHUTTING_DOWN, u": the component is shut down");
    // Ahead of the guard: a refused second call must not shut down the
    // component that the first one configured.
    if (configureCalled_.exchange(true))
      ThrowError(E_INVALID_STATE, u": the component is configured already");
    ConfigureGuard guard(static_cast<IConfigurable*>(this), static_cast<IShutdown*>(this));
    RefuseMissing(configuration, u"configuration");
    ReadConfiguration(configuration);
    configured_ = true;
    StartInitializeAction();
    Subscribe();
    guard.Dismiss();
  });
}

void CGroupMembershipPreprocessor::ReadConfiguration(const VXNodePtr& configuration) {
  // A copy of our own: the attempts read it on their thread, while the host
  // may go on using its tree.
  settings_ = configuration.Clone();
  settingsServiceName_ = settings_.GetString(u"DSMInstName");
  VXNodePtr dbSettings = ReadCommonDbSettings(settingsServiceName_);
  {
    std::lock_guard lock(settingsLock_);
    commonDbSettings_ = std::move(dbSettings);
  }
  const int32_t retrySeconds = settings_.GetInt32(u"InitializeRetryIntervalSec");
  if (retrySeconds < 0) ThrowError(E_INVALIDARG, u": InitializeRetryIntervalSec is negative");
  initializeRetryInterval_ = std::chrono::seconds(retrySeconds);
  membersLimit_ = OptionalUInt64(settings_, u"GroupMembersLimit");
  resolver_ = std::make_unique<CGroupMembershipResolver>(
      settings_.GetChild(u"GroupMembershipResolver", true), membersLimit_);
  membershipAttrName_ = settings_.GetString(u"MembershipAttrName");
  conditionsProcessor_ = std::make_unique<CMembershipConditionsProcessor>(membershipAttrName_);
}

void CGroupMembershipPreprocessor::StartInitializeAction() {
  // Made under the lock that the task takes before it touches the action, so
  // that a first run, which starts at once, finds it in place.
  std::lock_guard lock(managerLock_);
  if (shuttingDown_) ThrowError(E_SHUTTING_DOWN, u": the component was shut down during Configure");
  initializeAction_ = std::make_unique<CAsyncAction>(
      initializeRetryInterval_, CAsyncAction::Duration::zero(), [this] { InitializeTask(); });
}

void CGroupMembershipPreprocessor::Subscribe() {
  const auto service = GetNamedInstance<IDatabaseSettingsService>(settingsServiceName_);
  Check(service->Subscribe(static_cast<IConfigObserver*>(this)));
}

void CGroupMembershipPreprocessor::InitializeTask() {
  VXNodePtr dbSettings;
  uint64_t version = 0;
  {
    std::lock_guard lock(settingsLock_);
    version = settingsVersion_;
    if (commonDbSettings_) dbSettings = commonDbSettings_.Clone();
  }
  std::shared_ptr<CMembershipTablesManager> manager;
  try {
    manager = InitializeTablesManager(dbSettings);
  } catch (const HRX& failure) {
    VX_LOG(Severity::WARN, u"Tables manager initialization failed due to " << failure);
  } catch (const std::exception& failure) {
    VX_LOG(Severity::WARN, u"Tables manager initialization failed due to " << failure.what());
  }
  const bool built = manager != nullptr;
  CAsyncAction* action = nullptr;
  {
    std::lock_guard lock(managerLock_);
    action = initializeAction_.get();
    if (built) {
      std::swap(tablesManager_, manager);  // the one replaced goes below, unlocked
      initialized_ = true;
    }
  }
  if (!action) return;  // FinalRelease took it: this is the last run
  if (!built) {
    // Again in case this run came from a trigger after a success had set the
    // interval to zero: attempts go on until one succeeds.
    action->SetInterval(initializeRetryInterval_);
    return;
  }
  managerReady_.notify_all();
  action->SetInterval(CAsyncAction::Duration::zero());
  // The settings changed while this run built from the old ones. That
  // change triggered a run to come; until it is done, requests wait.
  if (version != settingsVersion_) {
    std::lock_guard lock(managerLock_);
    initialized_ = false;
  }
}

std::shared_ptr<CMembershipTablesManager> CGroupMembershipPreprocessor::InitializeTablesManager(
    const VXNodePtr& dbSettings) {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CGroupMembershipPreprocessor::InitializeTablesManager");
  VX_LOG(Severity::DBG, u"SQL storage settings:" << dbSettings);
  if (!dbSettings || !dbSettings.GetBool(u"Enabled", false))
    ThrowError(E_TABLES_MANAGER_UNAVAILABLE, u": the SQL storage is not enabled");
  dbSettings.SetBool(u"db_readonly", true);
  const auto storage = GetNamedInstance<IVXSQLStorage>(settings_.GetString(u"SimpleStorageInstName"));
  Check(storage->Configure(dbSettings));
  return std::make_shared<CMembershipTablesManager>(
      storage, settings_.GetChild(u"MembershipTablesManager", true));
}

HRESULT CGroupMembershipPreprocessor::OnModify(const VXNodePtr&) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::OnModify");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::OnModify", [&] {
    if (shuttingDown_) return;
    const VXNodePtr fresh = ReadCommonDbSettings(settingsServiceName_);
    VX_LOG(Severity::DBG, u"CommonDb settings: " << fresh);
    bool restart = false;
    {
      std::lock_guard lock(settingsLock_);
      if (commonDbSettings_ && NodesEqual(commonDbSettings_, fresh)) return;
      commonDbSettings_ = fresh;
      ++settingsVersion_;
      initialized_ = false;
      restart = configured_;
    }
    if (!restart) return;
    CAsyncAction* action = nullptr;
    {
      std::lock_guard lock(managerLock_);
      action = initializeAction_.get();
    }
    if (!action) return;  // Configure is about to make it, with these settings
    action->SetInterval(initializeRetryInterval_);
    // At once rather than an interval after the last run, and once more if
    // an attempt with the old settings is running now.
    action->Trigger();
  });
}

HRESULT CGroupMembershipPreprocessor::OnAdded(const VXNodePtr&) { return S_OK; }

HRESULT CGroupMembershipPreprocessor::OnRemoved(const VXNodePtr&) { return S_OK; }

std::shared_ptr<CMembershipTablesManager> CGroupMembershipPreprocessor::WaitForManager() {
  std::shared_ptr<CMembershipTablesManager> manager;
  {
    std::unique_lock lock(managerLock_);
    managerReady_.wait(lock, [this] { return initialized_ || shuttingDown_; });
    manager = tablesManager_;
  }
  if (shuttingDown_) ThrowError(E_SHUTTING_DOWN, u": the component is shutting down");
  if (!manager) ThrowError(E_TABLES_MANAGER_UNAVAILABLE, u": no tables manager");
  return manager;
}

std::shared_ptr<CMembershipTablesManager> CGroupMembershipPreprocessor::CurrentManager() {
  std::lock_guard lock(managerLock_);
  return tablesManager_;
}

HRESULT CGroupMembershipPreprocessor::ProcessQuery(const VXNodePtr& request) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::ProcessQuery");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::ProcessQuery", [&] {
    RefuseMissing(request, u"request");
    RefuseDeepTree(request);
    VX_LOG(Severity::DBG, u"Processing query: " << request);
    const auto manager = WaitForManager();
    const GUID sessionId = request.GetGuid(u"SessionId");
    const MembershipGroups groups = conditionsProcessor_->ProcessMembershipConditions(request);
    bool incomplete = false;
    // Always the session tables. The other road, the members written into
    // the statement as table variables (%TABLE_FILLING%), stays for
    // statements built that way.
    const bool useSessionTables = true;
    if (useSessionTables) {
      SessionRecord record;
      if (manager->CheckSessionExistence(sessionId, record)) {
        // The first request of a session decided its membership.
        incomplete = record.incomplete;
      } else {
        const SessionMembers members = ResolveMembership(groups);
        manager->StoreSessionMembership(sessionId, members);
        incomplete = members.incomplete;
      }
      request.SetString(kInGroupTable, manager->GetSessionTableName(sessionId, false));
      request.SetString(kNotInGroupTable, manager->GetSessionTableName(sessionId, true));
    } else {
      const SessionMembers members = ResolveMembership(groups);
      AddTableFillingNodes(request, members);
      incomplete = members.incomplete;
    }
    VX_LOG(Severity::DBG, u"Membership exceed result: " << incomplete);
    if (membersLimit_) {
      request.SetAttribute(u"LimitCountMembers", VXN_UINT64, &*membersLimit_,
                           sizeof(*membersLimit_));
    }
    request.SetBool(u"IncompleteMembers", incomplete);
  });
}

SessionMembers CGroupMembershipPreprocessor::ResolveMembership(
    const MembershipGroups& groups) const {
  SessionMembers members;
  if (!groups.inclusive.empty()) {
    ResolvedMembers resolved = resolver_->ResolveGroups(groups.inclusive);
    members.inclusiveMembers = std::move(resolved.names);
    members.incomplete = resolved.exceeded;
  }
  if (!groups.exclusive.empty()) {
    ResolvedMembers resolved = resolver_->ResolveGroups(groups.exclusive);
    members.exclusiveMembers = std::move(resolved.names);
    members.incomplete = members.incomplete || resolved.exceeded;
  }
  return members;
}

void CGroupMembershipPreprocessor::AddTableFillingNodes(const VXNodePtr& request,
                                                        const SessionMembers& members) {
  for (uint32_t i = request.ChildCount(); i-- > 0;) {
    const VXNodePtr child = request.ChildAt(i);
    if (child.TypeView() == u"TableFilling") request.RemoveChild(child);
  }
  const auto add = [&](const MemberSet& names, std::u16string_view table,
                       const char16_t* attribute) {
    const VXNodePtr filling = VXNodePtr::Create(u"TableFilling");
    filling.SetStringList(u"Values", Names(names));
    filling.SetString(u"TableName", table);
    request.AddChild(filling);
    request.SetString(attribute, u"@" + std::u16string(table));
  };
  add(members.inclusiveMembers, u"WhoInGroup", kInGroupTable);
  add(members.exclusiveMembers, u"WhoNotInGroup", kNotInGroupTable);
}

HRESULT CGroupMembershipPreprocessor::CancelQuery(const VXNodePtr& request) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::CancelQuery");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::CancelQuery", [&] {
    RefuseMissing(request, u"request");
    VX_LOG(Severity::DBG, u"Cancelling query with cookie: " << request);
    const GUID sessionId = request.GetGuid(u"SessionId");
    if (const auto manager = CurrentManager()) manager->ReleaseMembershipSession(sessionId);
  });
}

HRESULT CGroupMembershipPreprocessor::NotifyGetResult(const VXNodePtr& request) {
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::NotifyGetResult", [&] {
    RefuseMissing(request, u"request");
    VX_LOG(Severity::DBG2, u"NotifyGetResult for cookie " << request);
    GUID sessionId = GuidOrZero(request, u"SessionId");
    if (sessionId == GUID{}) sessionId = GuidOrZero(request, u"Cookie");
    if (sessionId == GUID{}) return;
    if (const auto manager = CurrentManager()) manager->UpdateLastSessionAccess(sessionId);
  });
}

HRESULT CGroupMembershipPreprocessor::GetWeakReference(IWeakReference** out) {
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::GetWeakReference", [&] {
    return GetWeakReferenceFor(static_cast<IWeakReferenceSource*>(this), out);
  });
}

HRESULT CGroupMembershipPreprocessor::Shutdown() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CGroupMembershipPreprocessor::Shutdown");
  return ComponentBorder("QueriesProcessing::CGroupMembershipPreprocessor::Shutdown", [&] {
    CAsyncAction* action = nullptr;
    {
      std::lock_guard lock(managerLock_);
      shuttingDown_ = true;
      action = initializeAction_.get();
    }
    managerReady_.notify_all();
    if (action) action->Stop();
  });
}

}  // namespace QueriesProcessing
