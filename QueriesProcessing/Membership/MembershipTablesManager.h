#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/Components/SqlStorageInterfaces.h"
#include "Common/Guid.h"
#include "Common/Helpers/AsyncAction.h"
#include "QueriesProcessing/Membership/MembershipSqlBuilder.h"
#include "QueriesProcessing/Membership/SessionClock.h"
#include "QueriesProcessing/Membership/SessionMembers.h"

namespace QueriesProcessing {

// What the manager remembers of a stored session.
struct SessionRecord {
  int64_t lastAccess = 0;   // ISessionClock ticks of the last store or touch
  bool incomplete = false;  // the stored membership was cut at the limit
};

// Owns the database side of group membership: for each client session (a
// GUID) two member tables, of the inclusive and of the exclusive groups, in
// the database behind `storage`, and a record of the session in memory. All
// SQL comes from the configuration (MembershipTablesConfig.h, texts by
// CMembershipSqlBuilder); every statement reaches the database as one batch
// of IVXSQLStorage::Execute, which runs it in one transaction.
//
// Life of a session: StoreSessionMembership creates it (tables first, then
// the record: a failed batch leaves neither); CheckSessionExistence and
// UpdateLastSessionAccess touch it; ReleaseMembershipSession, the retention
// routine (idle for longer than `SessionLifeTimeSec` whole seconds) and the
// destructor end it. Sessions left in the database by an earlier run (a
// crash) are dropped by the start-up work of the next manager on that
// database, whatever their age.
//
// Background work:
//  - the start-up work, launched by the constructor (std::async, deferred or
//    asynchronous): runs `CreateDictQuery`, reads `SelectSessionsQuery` and
//    drops every session it lists. Its outcome is a shared future that
//    CheckSessionExistence, StoreSessionMembership, ReleaseMembershipSession
//    and the retention routine wait for; if it failed, each of them raises
//    its failure anew (a new manager is the only way out).
//  - the retention routine on a CAsyncAction, first run at once (it waits
//    for the start-up), then `RetentionRoutineIntervalSec` after the end of
//    each run; a failed run is logged and the next comes as planned.
// The waits for the start-up are bounded by the storage's own bounds (the
// SQLite storage waits for a busy database at most its busy time-out).
//
// Failures of the storage are raised as HRX with the storage's code and
// text. Logs, at DBG unless told: "Executing command: " and the text (DBG2),
// "Full members insert command: " (DBG2), "Check session <id> existence
// result: true|false", "Update last access time for session <id>" and
// "Session with id <id> find result true|false" (both DBG2), "Not found
// session with id <id>", "Releasing session with id <id>", "Dropping
// outdated sessions: N'<id>', ..." (INFO).
//
// Thread-safe. The session map is touched only under its lock, and that lock
// is never held across a database call: statements of different sessions
// reach the storage side by side. Two concurrent first stores of one session
// both run their batch; the database refuses the second (the templates'
// tables exist already), and its failure reaches its caller.
class CMembershipTablesManager {
 public:
  // Reads `configuration` (MembershipTablesConfig::Read; raises its
  // failures), then starts the start-up work and the retention routine.
  // `clock` gives the session times; null means the system clock.
  CMembershipTablesManager(CompPtr<IVXSQLStorage> storage, const VXNodePtr& configuration,
                           std::shared_ptr<const ISessionClock> clock = nullptr);
  // Stops the retention routine, waits for the start-up work, and drops
  // every session it knows, so that a clean stop leaves no tables behind. A
  // failure there is logged at ERR and goes no further.
  ~CMembershipTablesManager();
  CMembershipTablesManager(const CMembershipTablesManager&) = delete;
  CMembershipTablesManager& operator=(const CMembershipTablesManager&) = delete;

  // True if both the database (a row of `CheckExistenceQueryTemplate`) and
  // this manager know the session; then refreshes its last access and copies
  // its record into `record`. A session the database knows and this manager
  // does not counts as absent: the caller resolves and stores it again.
  bool CheckSessionExistence(const GUID& sessionId, SessionRecord& record);

  // Creates and fills the session's tables and records the session, in one
  // batch; then (only on success) records it here, `lastAccess` now,
  // `incomplete` from `members`, replacing any earlier record. Both tables
  // are made, and their statistics refreshed, even with no members.
  void StoreSessionMembership(const GUID& sessionId, const SessionMembers& members);

  // Drops the session's tables and its database record now, then forgets it.
  // An id this manager does not know touches no database and is no failure;
  // a failed drop leaves the session known (retention tries again).
  void ReleaseMembershipSession(const GUID& sessionId);

  // Refreshes the last access of a known session; an unknown id changes
  // nothing. Waits for nothing and touches no database.
  void UpdateLastSessionAccess(const GUID& sessionId);

  // The physical name of the session's inclusive (or exclusive) table.
  std::u16string GetSessionTableName(const GUID& sessionId, bool isExclusive) const;

  // The retention routine on the calling thread: drops the sessions whose
  // last access lies before now and whose age in whole seconds exceeds
  // `SessionLifeTimeSec` (a session exactly at its life stays). Does nothing
  // once the destructor has begun. For hosts and tests; the routine's own
  // thread runs the same.
  void RunRetention();
  // Asks the retention routine's thread for a run now.
  void TriggerRetention();

 private:
  VXNodePtr ExecuteCommand(const std::u16string& sql, bool wantResult) const;
  void StartUp();
  void WaitForInitialization() const;
  // Drops the tables and records of `sessionIds` in one batch, then forgets
  // them. No ids, no batch.
  void DropSessions(const std::vector<GUID>& sessionIds);

  const CMembershipSqlBuilder sql_;
  const CompPtr<IVXSQLStorage> storage_;
  const std::shared_ptr<const ISessionClock> clock_;
  std::mutex sessionsLock_;
  std::unordered_map<GUID, SessionRecord> sessions_;  // guarded by sessionsLock_
  std::atomic<bool> stopped_{false};
  // Last: the background work uses every member above.
  std::shared_future<void> initialization_;
  std::unique_ptr<CAsyncAction> retentionAction_;
};

}  // namespace QueriesProcessing
