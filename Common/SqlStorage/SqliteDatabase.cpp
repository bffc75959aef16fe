#include "Common/SqlStorage/SqliteDatabase.h"

#include <sqlite3.h>

#include <memory>
#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/SqlStorage/SqliteRow.h"
#include "Common/Text.h"

namespace {

// How much of a failing statement its message quotes.
constexpr size_t kQuotedStatementBytes = 200;

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

HRESULT StatusOf(int code) {
  switch (code & 0xFF) {
    case SQLITE_BUSY:
      return E_TIMEOUT;
    case SQLITE_NOMEM:
      return E_OUTOFMEMORY;
    default:
      return E_FAIL;
  }
}

std::u16string Quote(std::string_view statement) {
  while (!statement.empty() && (statement.front() == ' ' || statement.front() == '\n' ||
                                statement.front() == '\r' || statement.front() == '\t')) {
    statement.remove_prefix(1);
  }
  if (statement.size() <= kQuotedStatementBytes) return ToUtf16(statement);
  return ToUtf16(statement.substr(0, kQuotedStatementBytes)) + u"...";
}

// The message SQLite holds for the last call on `db`, which failed with
// `code`, and the statement it ran.
[[noreturn]] void Raise(sqlite3* db, int code, std::string_view statement) {
  std::u16string text = u": SQLite: " + ToUtf16(sqlite3_errmsg(db));
  if (!statement.empty()) text += u", in: " + Quote(statement);
  ThrowError(StatusOf(code), text);
}

}  // namespace

CSqliteDatabase::CSqliteDatabase(const std::string& path, int busyTimeoutMs) : path_(path) {
  const int code =
      sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (code != SQLITE_OK) {
    const std::u16string message =
        db_ ? ToUtf16(sqlite3_errmsg(db_)) : ToUtf16(sqlite3_errstr(code));
    sqlite3_close(db_);
    ThrowError(StatusOf(code), u": SQLite cannot open '" + ToUtf16(path) + u"': " + message);
  }
  SetBusyTimeout(busyTimeoutMs);
}

CSqliteDatabase::~CSqliteDatabase() { sqlite3_close(db_); }

void CSqliteDatabase::SetBusyTimeout(int busyTimeoutMs) {
  sqlite3_busy_timeout(db_, busyTimeoutMs);
}

VXNodePtr CSqliteDatabase::RunBatch(const std::string& batch, bool wantRows) {
  VXNodePtr rows = VXNodePtr::Create(u"Rows");
  Run("BEGIN IMMEDIATE");
  try {
    RunStatements(batch, wantRows, rows);
    Run("COMMIT");
  } catch (...) {
    // SQLite has already undone the transaction after some failures.
    if (!sqlite3_get_autocommit(db_)) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
  return rows;
}

void CSqliteDatabase::Run(const char* statement) {
  const int code = sqlite3_exec(db_, statement, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Raise(db_, code, statement);
}

void CSqliteDatabase::RunStatements(const std::string& batch, bool wantRows,
                                    const VXNodePtr& rows) {
  const char* next = batch.c_str();
  const char* const end = next + batch.size();
  while (next < end) {
    const char* const start = next;
    sqlite3_stmt* prepared = nullptr;
    // The text is terminated and holds no U+0000, so SQLite reads it in
    // place (-1) instead of copying the rest of the batch for each statement.
    const int code = sqlite3_prepare_v2(db_, start, -1, &prepared, &next);
    if (code != SQLITE_OK) Raise(db_, code, std::string_view(start, end - start));
    const Statement statement(prepared);
    if (!statement) {  // blanks or comments only
      if (next <= start) break;
      continue;
    }
    int step;
    while ((step = sqlite3_step(prepared)) == SQLITE_ROW) {
      if (wantRows) rows.AddChild(ReadRow(prepared));
    }
    if (step != SQLITE_DONE) Raise(db_, step, std::string_view(start, next - start));
    if (sqlite3_get_autocommit(db_)) {
      ThrowError(E_INVALIDARG, u": a statement of the batch ended its transaction: " +
                                   Quote(std::string_view(start, next - start)));
    }
  }
}
