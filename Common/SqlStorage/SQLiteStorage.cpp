#include "Common/SqlStorage/SQLiteStorage.h"

#include <string>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlStorage/SqliteDialect.h"
#include "Common/Text.h"

HRESULT CSQLiteStorage::Execute(const VXNodePtr& command, VXNodePtr* result) {
  return ComponentBorder("CSQLiteStorage::Execute", [&] {
    VX_LOG_SCOPE(Severity::DBG2, "CSQLiteStorage::Execute");
    if (result) *result = VXNodePtr();
    if (!command) ThrowError(E_INVALIDARG, u": no command node");
    const std::string batch = ToSqliteText(command.GetString(u"SQL_Command"));
    const bool wantRows = !command.GetBool(u"no_result", false);
    VXNodePtr rows;
    {
      std::lock_guard guard(lock_);
      if (!database_) ThrowError(E_INVALID_STATE, u": the SQL storage is not configured");
      rows = database_->RunBatch(batch, wantRows);
    }
    if (result) *result = std::move(rows);
  });
}

HRESULT CSQLiteStorage::Configure(const VXNodePtr& settings) {
  return ComponentBorder("CSQLiteStorage::Configure", [&] {
    VX_LOG_SCOPE(Severity::DBG, "CSQLiteStorage::Configure");
    if (!settings) ThrowError(E_INVALIDARG, u": no settings node");
    const std::u16string database = settings.GetString(u"Database");
    if (database.empty() || database.find(u'\0') != std::u16string::npos) {
      ThrowError(E_INVALIDARG, u": 'Database' must name a file or ':memory:'");
    }
    const int32_t busyTimeoutMs = settings.GetInt32(u"BusyTimeoutMs", kDefaultBusyTimeoutMs);
    if (busyTimeoutMs < 0 || busyTimeoutMs > kMaxBusyTimeoutMs) {
      ThrowError(E_INVALIDARG,
                 u": 'BusyTimeoutMs' must lie from 0 to " + ToText(kMaxBusyTimeoutMs));
    }
    const std::string path = ToUtf8(database);
    // Opening under the lock keeps two Configures of one new database from
    // opening it twice (two different databases, for ":memory:").
    std::lock_guard guard(lock_);
    if (database_ && database_->Path() == path) return database_->SetBusyTimeout(busyTimeoutMs);
    database_ = std::make_unique<CSqliteDatabase>(path, busyTimeoutMs);
    VX_LOG(Severity::INFO, u"SQL storage opened SQLite database '" << database << u"'");
  });
}
