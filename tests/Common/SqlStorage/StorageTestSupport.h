#pragma once

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "Common/Components/CompPtr.h"
#include "Common/SqlStorage/SQLiteStorage.h"
#include "Common/Text.h"

// Helpers of the tests that use the SQLite storage.

// A configured storage over `database` (a file or ":memory:"); raises on a
// failure.
inline CompPtr<IVXSQLStorage> OpenStorage(const std::u16string& database,
                                          int32_t busyTimeoutMs = 5000) {
  CompPtr<IVXSQLStorage> storage;
  Check(CComponentObject<CSQLiteStorage>::Create(IVXSQLStorage::kIid, storage.ReceiveVoid()));
  const VXNodePtr settings = VXNodePtr::Create(u"StorageSettings");
  settings.SetString(u"Database", database);
  settings.SetInt32(u"BusyTimeoutMs", busyTimeoutMs);
  Check(storage->Configure(settings));
  return storage;
}

inline VXNodePtr SqlCommand(std::u16string_view sql, bool noResult) {
  const VXNodePtr command = VXNodePtr::Create(u"Command");
  command.SetString(u"SQL_Command", sql);
  command.SetBool(u"no_result", noResult);
  return command;
}

// The rows of `sql`; raises on a failure.
inline VXNodePtr Query(const CompPtr<IVXSQLStorage>& storage, std::u16string_view sql) {
  VXNodePtr rows;
  Check(storage->Execute(SqlCommand(sql, false), &rows));
  return rows;
}

// The status of running `sql` without rows; its text, if any, stays in the
// thread's error information.
inline HRESULT RunSql(const CompPtr<IVXSQLStorage>& storage, std::u16string_view sql) {
  VXNodePtr rows;
  return storage->Execute(SqlCommand(sql, true), &rows);
}

// The text of the thread's pending error information, as UTF-8.
inline std::string TakeErrorText() {
  const auto info = GetErrorInfo();
  return info ? ToUtf8(info->description) : std::string();
}

// A database file of its own in the temporary directory, removed with its
// journal at the end.
class TempDatabase {
 public:
  TempDatabase() {
    static std::atomic<int> counter{0};
    path_ =
        std::filesystem::temp_directory_path() /
        ("scriptwright-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter) + ".db");
    Remove();
  }
  ~TempDatabase() { Remove(); }
  TempDatabase(const TempDatabase&) = delete;
  TempDatabase& operator=(const TempDatabase&) = delete;

  std::string Path() const { return path_.string(); }
  std::u16string Name() const { return ToUtf16(path_.string()); }

 private:
  void Remove() const {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
    std::filesystem::remove(path_.string() + "-journal", ignored);
  }

  std::filesystem::path path_;
};
