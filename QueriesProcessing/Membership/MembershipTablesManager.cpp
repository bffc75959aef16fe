#include "QueriesProcessing/Membership/MembershipTablesManager.h"

#include <chrono>
#include <exception>

#include "Common/ErrorHandling.h"
#include "Common/LogScope.h"
#include "Common/Logger.h"

namespace QueriesProcessing {
namespace {

// Runs `body`, logging a failure at ERR instead of passing it on: for the
// destructor and the retention thread, which have no caller to tell. The
// thread's error information is left alone, so that no later failure of that
// thread picks up this text.
template <typename Body>
void LogFailure(const char* qualifiedName, Body&& body) noexcept {
  try {
    body();
  } catch (const HRX& failure) {
    VX_LOG(Severity::ERR, qualifiedName << u" failed: " << failure);
  } catch (const std::exception& exception) {
    VX_LOG(Severity::ERR, qualifiedName << u" failed: " << exception.what());
  } catch (...) {
    VX_LOG(Severity::ERR, qualifiedName << u" failed: unknown exception");
  }
}

std::chrono::seconds Seconds(int32_t count) { return std::chrono::seconds(count); }

}  // namespace

CMembershipTablesManager::CMembershipTablesManager(CompPtr<IVXSQLStorage> storage,
                                                   const VXNodePtr& configuration,
                                                   std::shared_ptr<const ISessionClock> clock)
    : sql_(MembershipTablesConfig::Read(configuration)),
      storage_(std::move(storage)),
      clock_(clock ? std::move(clock) : SystemSessionClock()) {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CMembershipTablesManager::CMembershipTablesManager");
  if (!storage_) ThrowError(E_POINTER, u": no SQL storage");
  initialization_ =
      std::async(std::launch::async | std::launch::deferred, [this] { StartUp(); }).share();
  retentionAction_ = std::make_unique<CAsyncAction>(
      Seconds(sql_.Config().retentionRoutineIntervalSec), CAsyncAction::Duration::zero(), [this] {
        LogFailure("QueriesProcessing::CMembershipTablesManager::RunRetention",
                   [this] { RunRetention(); });
      });
}

CMembershipTablesManager::~CMembershipTablesManager() {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CMembershipTablesManager::~CMembershipTablesManager");
  stopped_ = true;
  retentionAction_.reset();
  // The start-up work uses this object; it must be over before anything goes.
  initialization_.wait();
  LogFailure("QueriesProcessing::CMembershipTablesManager::~CMembershipTablesManager", [this] {
    std::vector<GUID> ids;
    {
      std::lock_guard guard(sessionsLock_);
      ids.reserve(sessions_.size());
      for (const auto& [id, record] : sessions_) ids.push_back(id);
    }
    DropSessions(ids);
  });
}

bool CMembershipTablesManager::CheckSessionExistence(const GUID& sessionId, SessionRecord& record) {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CMembershipTablesManager::CheckSessionExistence");
  WaitForInitialization();
  const VXNodePtr rows = ExecuteCommand(
      sql_.SessionStatement(sql_.Config().checkExistenceQueryTemplate, sessionId), true);
  bool exists = rows && rows.ChildCount() > 0;
  if (exists) {
    const int64_t now = clock_->Now();
    std::lock_guard guard(sessionsLock_);
    const auto found = sessions_.find(sessionId);
    exists = found != sessions_.end();
    if (exists) {
      found->second.lastAccess = now;
      record = found->second;
    }
  }
  VX_LOG(Severity::DBG, u"Check session " << CMembershipSqlBuilder::SessionIdText(sessionId)
                                          << u" existence result: " << exists);
  return exists;
}

void CMembershipTablesManager::StoreSessionMembership(const GUID& sessionId,
                                                      const SessionMembers& members) {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CMembershipTablesManager::StoreSessionMembership");
  WaitForInitialization();
  ExecuteCommand(sql_.StoreBatch(sessionId, members), false);
  const int64_t now = clock_->Now();
  std::lock_guard guard(sessionsLock_);
  sessions_[sessionId] = SessionRecord{now, members.incomplete};
}

void CMembershipTablesManager::ReleaseMembershipSession(const GUID& sessionId) {
  VX_LOG_SCOPE(Severity::DBG,
               "QueriesProcessing::CMembershipTablesManager::ReleaseMembershipSession");
  WaitForInitialization();
  const std::u16string idText = CMembershipSqlBuilder::SessionIdText(sessionId);
  bool found;
  {
    std::lock_guard guard(sessionsLock_);
    found = sessions_.contains(sessionId);
  }
  if (!found) {
    VX_LOG(Severity::DBG, u"Not found session with id " << idText);
    return;
  }
  VX_LOG(Severity::DBG, u"Releasing session with id " << idText);
  ExecuteCommand(sql_.ReleaseBatch(sessionId), false);
  std::lock_guard guard(sessionsLock_);
  sessions_.erase(sessionId);
}

void CMembershipTablesManager::UpdateLastSessionAccess(const GUID& sessionId) {
  const std::u16string idText = CMembershipSqlBuilder::SessionIdText(sessionId);
  VX_LOG(Severity::DBG2, u"Update last access time for session " << idText);
  const int64_t now = clock_->Now();
  bool found;
  {
    std::lock_guard guard(sessionsLock_);
    const auto session = sessions_.find(sessionId);
    found = session != sessions_.end();
    if (found) session->second.lastAccess = now;
  }
  VX_LOG(Severity::DBG2, u"Session with id " << idText << u" find result " << found);
}

std::u16string CMembershipTablesManager::GetSessionTableName(const GUID& sessionId,
                                                             bool isExclusive) const {
  return sql_.TableName(sessionId, isExclusive);
}

void CMembershipTablesManager::RunRetention() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CMembershipTablesManager::RunRetention");
  WaitForInitialization();
  if (stopped_) return;
  const int64_t now = clock_->Now();
  const int64_t lifeTime = sql_.Config().sessionLifeTimeSec;
  std::vector<GUID> outdated;
  {
    std::lock_guard guard(sessionsLock_);
    for (const auto& [id, record] : sessions_) {
      const bool before = record.lastAccess < now;
      if (before && (now - record.lastAccess) / ISessionClock::kTicksPerSecond > lifeTime) {
        outdated.push_back(id);
      }
    }
  }
  DropSessions(outdated);
}

void CMembershipTablesManager::TriggerRetention() { retentionAction_->Trigger(); }

VXNodePtr CMembershipTablesManager::ExecuteCommand(const std::u16string& sql,
                                                   bool wantResult) const {
  VX_LOG(Severity::DBG2, u"Executing command: " << sql);
  const VXNodePtr command = VXNodePtr::Create(u"");
  command.SetString(u"SQL_Command", sql);
  command.SetBool(u"no_result", !wantResult);
  VXNodePtr result;
  Check(storage_->Execute(command, &result));
  return result;
}

void CMembershipTablesManager::StartUp() {
  VX_LOG_SCOPE(Severity::DBG, "QueriesProcessing::CMembershipTablesManager::StartUp");
  ExecuteCommand(sql_.Config().createDictQuery, false);
  const VXNodePtr rows = ExecuteCommand(sql_.Config().selectSessionsQuery, true);
  std::vector<GUID> earlier;
  if (rows) {
    rows.ForEachChild([&](const VXNodePtr& row) { earlier.push_back(row.GetGuid(u"SessionId")); });
  }
  DropSessions(earlier);
}

void CMembershipTablesManager::WaitForInitialization() const {
  try {
    initialization_.get();
  } catch (const HRX& failure) {
    // Every waiter raises a copy of its own: the stored one is shared.
    throw HRX(failure);
  }
}

void CMembershipTablesManager::DropSessions(const std::vector<GUID>& sessionIds) {
  const CMembershipSqlBuilder::DropBatchText batch = sql_.DropBatch(sessionIds);
  if (!batch.sessions.empty()) {
    VX_LOG(Severity::INFO, u"Dropping outdated sessions: " << batch.sessions);
  }
  if (batch.sql.empty()) return;
  ExecuteCommand(batch.sql, false);
  std::lock_guard guard(sessionsLock_);
  for (const GUID& id : sessionIds) sessions_.erase(id);
}

}  // namespace QueriesProcessing
