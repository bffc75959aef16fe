#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Helpers/AsyncAction.h"
#include "QueriesProcessing/Membership/MembershipTablesManager.h"
#include "QueriesProcessing/Scriptwright/Membership/GroupMembershipResolver.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipConditionsProcessor.h"

namespace QueriesProcessing {

// The group membership preprocessor, class
// {0DD265D7-9C92-4FC0-9CBE-32D691746561}: stands in the host's chain ahead of
// the preparer. For a request with group conditions it has the groups
// resolved once per client session, keeps the members in the session's two
// tables (CMembershipTablesManager) and names those tables on the request,
// so that %WHO_GROUP_CONDITION% can join them. It also serves the cancel of
// a search and the keep-alive of its session.
//
// Configuration (the node given to Configure):
//   DSMInstName                 string, required: the database settings
//                               service (IDatabaseSettingsService)
//   InitializeRetryIntervalSec  integer, required, >= 0: seconds between
//                               attempts to build the tables manager
//   GroupMembersLimit           unsigned integer, optional: most members taken
//                               from one group; absent, no limit
//   GroupMembershipResolver     child, required: CGroupMembershipResolver's
//   MembershipAttrName          string, required: the Columnn of a group
//                               condition (CMembershipConditionsProcessor)
//   SimpleStorageInstName       string, required once the storage is enabled:
//                               the SQL storage (IVXSQLStorage)
//   MembershipTablesManager     child, required once the storage is enabled:
//                               CMembershipTablesManager's
// A missing attribute fails with 0x80070490 naming it; a failed Configure
// shuts the component down. Configure is accepted once: a second call fails
// with 0x8007139F and leaves the first configuration as it is.
//
// The tables manager is built on a CAsyncAction, first at once and then every
// InitializeRetryIntervalSec seconds until an attempt succeeds: it takes a
// copy of the common database settings, refuses them unless `Enabled`
// (0x80047F01), sets `db_readonly` on the copy, configures the storage with
// it and builds the manager over the storage. A failed attempt logs at WARN
// "Tables manager initialization failed due to " and the status. OnModify
// (the settings service's notification) reads the settings again and, when
// they differ from the kept ones (NodesEqual), keeps them and builds anew;
// requests wait meanwhile. A change that comes while an attempt runs makes
// that attempt's manager no more than a stand-in: requests keep waiting for
// the attempt that read the new settings. The replaced manager drops its
// sessions when its last user lets go of it.
//
// Request attributes:
//   SessionId                          GUID, in, required (0x80070490)
//   Conditions                         child, in, required (0x80070490)
//   Cookie                             GUID, in, NotifyGetResult only: the
//                                      session when SessionId is absent
//   GroupMembershipWhoInGroupTable     string, out: the inclusive table
//   GroupMembershipWhoNotInGroupTable  string, out: the exclusive table
//   LimitCountMembers                  unsigned 64-bit, out, with a limit only
//   IncompleteMembers                  boolean, out: a group was cut at the
//                                      limit
//
// ProcessQuery waits, without a time-out, until the manager is ready or
// Shutdown begins (then 0x80047F03). The first request of a session decides
// its membership: later requests of the session get its tables without a
// lookup, whatever their groups. CancelQuery drops the session's tables now
// (a lookup running for it on another thread still stores them later, and
// retention removes them); NotifyGetResult keeps the session alive.
// Failures of the resolver and the manager pass on as they are; a request
// that fails stores nothing unless the store itself succeeded.
//
// Shutdown wakes every waiting request (0x80047F03) and stops the attempts;
// later requests fail at once with 0x80047F03, and notifications after it do
// nothing. The tables manager lives until the component's last reference
// goes, and then drops every session it keeps.
//
// Every operation is a component border (ComponentBorder). Thread-safe:
// `managerLock_` is held only to copy the manager's reference and for the
// wait, `settingsLock_` only over the common settings; the two are never
// held together, and neither is held across a call to the database or to
// another component.
class CGroupMembershipPreprocessor : public CComponentBase,
                                     public IWeakReferenceSource,
                                     public IConfigObserver,
                                     public IResultNotification,
                                     public IQueryProcessor,
                                     public IShutdown,
                                     public IConfigurable {
 public:
  using Interfaces = std::tuple<IWeakReferenceSource, IConfigObserver, IResultNotification,
                                IQueryProcessor, IShutdown, IConfigurable>;
  static inline const GUID kClassId = MakeGuid(u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");

  HRESULT FinalConstruct();
  void FinalRelease();

  HRESULT GetWeakReference(IWeakReference** out) override;
  HRESULT OnModify(const VXNodePtr& change) override;
  HRESULT OnAdded(const VXNodePtr& change) override;
  HRESULT OnRemoved(const VXNodePtr& change) override;
  HRESULT NotifyGetResult(const VXNodePtr& request) override;
  HRESULT ProcessQuery(const VXNodePtr& request) override;
  HRESULT CancelQuery(const VXNodePtr& request) override;
  HRESULT Shutdown() override;
  HRESULT Configure(const VXNodePtr& configuration) override;

 private:
  void ReadConfiguration(const VXNodePtr& configuration);
  void StartInitializeAction();
  void Subscribe();
  void InitializeTask();
  std::shared_ptr<CMembershipTablesManager> InitializeTablesManager(const VXNodePtr& dbSettings);
  // The manager once it is ready; raises 0x80047F03 when Shutdown came first.
  std::shared_ptr<CMembershipTablesManager> WaitForManager();
  std::shared_ptr<CMembershipTablesManager> CurrentManager();
  SessionMembers ResolveMembership(const MembershipGroups& groups) const;
  static void AddTableFillingNodes(const VXNodePtr& request, const SessionMembers& members);

  // Set by Configure before the first attempt starts, read-only afterwards.
  std::unique_ptr<CGroupMembershipResolver> resolver_;
  std::unique_ptr<CMembershipConditionsProcessor> conditionsProcessor_;
  std::chrono::seconds initializeRetryInterval_{0};
  std::optional<uint64_t> membersLimit_;
  std::u16string membershipAttrName_;
  std::u16string settingsServiceName_;
  VXNodePtr settings_;  // read by the attempts only, once Configure is done

  std::atomic<bool> configureCalled_{false};
  std::atomic<bool> configured_{false};
  // Written under managerLock_ (the wait's predicate reads them), except that
  // OnModify clears `initialized_` under settingsLock_.
  std::atomic<bool> initialized_{false};
  std::atomic<bool> shuttingDown_{false};

  std::mutex settingsLock_;
  VXNodePtr commonDbSettings_;  // guarded by settingsLock_
  // Counts the changes of commonDbSettings_, so that an attempt knows whether
  // the settings it built from are still the current ones.
  std::atomic<uint64_t> settingsVersion_{0};

  std::mutex managerLock_;
  std::condition_variable managerReady_;
  std::shared_ptr<CMembershipTablesManager> tablesManager_;  // guarded by managerLock_
  // Made under managerLock_ by Configure, taken away under it by FinalRelease.
  std::unique_ptr<CAsyncAction> initializeAction_;
};

}  // namespace QueriesProcessing
