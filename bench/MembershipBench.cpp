// Costs of storing a session's membership: building the one store batch for
// a million members (1,000 per insert), against copying the finished text
// once (the goal: within three times that) and against reading the million
// names out of their set; and a store of 100,000 members into SQLite end to
// end (text, storage, dialect, SQLite), against SQLite's own bulk insert of
// the same rows through one prepared statement in one transaction. Arg 0
// runs on ":memory:", 1 on a file.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/SqlStorage/SQLiteStorage.h"
#include "Common/Text.h"
#include "QueriesProcessing/Membership/MembershipSqlBuilder.h"
#include "QueriesProcessing/Membership/MembershipTablesManager.h"

namespace {

using namespace QueriesProcessing;

constexpr size_t kBuiltMembers = 1'000'000;
constexpr size_t kStoredMembers = 100'000;

// The SQLite catalogue of the tests and examples, as attributes.
const std::pair<const char16_t*, const char16_t*> kTemplates[] = {
    {u"SessionIdAlias", u"%SESSION_ID%"},
    {u"TableNameTemplate", u"[Members_%SESSION_ID%_%KIND%]"},
    {u"TableNameAlias", u"%TABLE%"},
    {u"InclusiveAlias", u"%KIND%"},
    {u"InclusiveColumnName", u"InGroupAccount"},
    {u"ExclusiveColumnName", u"NotInGroupAccount"},
    {u"CheckExistenceQueryTemplate",
     u"SELECT SessionId FROM MembershipSessions WHERE SessionId = '%SESSION_ID%';"},
    {u"CreateTablesQueryTemplate",
     u"CREATE TABLE [Members_%SESSION_ID%_InGroup] (InGroupAccount TEXT NOT NULL);\n"
     u"CREATE TABLE [Members_%SESSION_ID%_NotInGroup] (NotInGroupAccount TEXT NOT NULL);\n"},
    {u"InsertQueryTemplate", u"INSERT INTO %TABLE% (%COLUMN_NAME%) VALUES %MEMBERS%"},
    {u"UpdateStatisticsTemplate", u"ANALYZE %TABLE%;\n"},
    {u"CreateDictQuery",
     u"CREATE TABLE IF NOT EXISTS MembershipSessions (SessionId GUID PRIMARY KEY);"},
    {u"CreateSessionQueryTemplate",
     u"INSERT INTO MembershipSessions (SessionId) VALUES ('%SESSION_ID%');\n"},
    {u"DropSessionQueryTemplate",
     u"DROP TABLE IF EXISTS [Members_%SESSION_ID%_InGroup];\n"
     u"DROP TABLE IF EXISTS [Members_%SESSION_ID%_NotInGroup];\n"},
    {u"SelectSessionsQuery", u"SELECT SessionId FROM MembershipSessions;"},
    {u"DeleteSessionRecordsQueryTemplate",
     u"DELETE FROM MembershipSessions WHERE SessionId IN (%SESSIONS%);\n"},
};

VXNodePtr Config() {
  const VXNodePtr config = VXNodePtr::Create(u"", u"MembershipTablesManager");
  for (const auto& [name, text] : kTemplates) config.SetString(name, text);
  config.SetInt32(u"RetentionRoutineIntervalSec", 3600);
  config.SetInt32(u"SessionLifeTimeSec", 3600);
  return config;
}

// Account names as a directory gives them; one in a hundred holds a quote.
MemberSet Members(size_t count) {
  MemberSet members;
  members.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    members.insert(u"CORP\\" + std::u16string(i % 100 == 0 ? u"o'user" : u"user") +
                   ToTextUnsigned(i));
  }
  return members;
}

GUID Session(uint32_t number) { return GUID{number, 0xBE, 0xCC, {1, 2, 3, 4, 5, 6, 7, 8}}; }

void BM_StoreBatchBuild(benchmark::State& state) {
  const CMembershipSqlBuilder sql(MembershipTablesConfig::Read(Config()));
  SessionMembers members;
  members.inclusiveMembers = Members(kBuiltMembers);
  size_t bytes = 0;
  for (auto _ : state) {
    const std::u16string text = sql.StoreBatch(Session(1), members);
    bytes = text.size() * sizeof(char16_t);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBuiltMembers));
}
BENCHMARK(BM_StoreBatchBuild)->Unit(benchmark::kMillisecond);

// The floor of the build: one copy of the finished text.
void BM_CopyFinishedBatchOnce(benchmark::State& state) {
  const CMembershipSqlBuilder sql(MembershipTablesConfig::Read(Config()));
  SessionMembers members;
  members.inclusiveMembers = Members(kBuiltMembers);
  const std::u16string finished = sql.StoreBatch(Session(1), members);
  for (auto _ : state) {
    std::u16string copy(finished);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(
      static_cast<int64_t>(state.iterations() * finished.size() * sizeof(char16_t)));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBuiltMembers));
}
BENCHMARK(BM_CopyFinishedBatchOnce)->Unit(benchmark::kMillisecond);

// What reading the input costs: every name once, in the set's order. The
// names lie one behind the other (MemberSet.h), so the walk reads memory in
// order. Over a node-based hash set the same walk waited on memory for each
// name and cost four copies of the finished text, and the build five to eight.
void BM_WalkMemberSet(benchmark::State& state) {
  const MemberSet members = Members(kBuiltMembers);
  for (auto _ : state) {
    size_t sum = 0;
    for (const auto& name : members) sum += name.size() + name.back();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBuiltMembers));
}
BENCHMARK(BM_WalkMemberSet)->Unit(benchmark::kMillisecond);

// A database of the benchmark: ":memory:" or a file removed at the end.
class BenchDatabase {
 public:
  explicit BenchDatabase(bool file) {
    if (!file) return;
    path_ = (std::filesystem::temp_directory_path() /
             ("scriptwright-bench-" + std::to_string(getpid()) + ".db"))
                .string();
    Remove();
  }
  ~BenchDatabase() { Remove(); }
  std::string Name() const { return path_.empty() ? ":memory:" : path_; }

 private:
  void Remove() const {
    if (path_.empty()) return;
    std::remove(path_.c_str());
    std::remove((path_ + "-journal").c_str());
  }
  std::string path_;
};

void BM_StoreIntoSqliteEndToEnd(benchmark::State& state) {
  const BenchDatabase database(state.range(0) != 0);
  CompPtr<IVXSQLStorage> storage;
  Check(CComponentObject<CSQLiteStorage>::Create(IVXSQLStorage::kIid, storage.ReceiveVoid()));
  const VXNodePtr settings = VXNodePtr::Create(u"StorageSettings");
  settings.SetString(u"Database", ToUtf16(database.Name()));
  Check(storage->Configure(settings));
  CMembershipTablesManager manager(storage, Config());
  SessionMembers members;
  members.inclusiveMembers = Members(kStoredMembers);
  uint32_t session = 0;
  for (auto _ : state) {
    manager.StoreSessionMembership(Session(++session), members);
    state.PauseTiming();
    manager.ReleaseMembershipSession(Session(session));
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kStoredMembers));
}
BENCHMARK(BM_StoreIntoSqliteEndToEnd)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void Exec(sqlite3* db, const char* sql) {
  if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
}

// The same rows by SQLite's own fastest road: one transaction, one prepared
// statement, each name bound as UTF-16.
void BM_SqliteBulkInsert(benchmark::State& state) {
  const BenchDatabase database(state.range(0) != 0);
  sqlite3* db = nullptr;
  if (sqlite3_open(database.Name().c_str(), &db) != SQLITE_OK) std::abort();
  const MemberSet members = Members(kStoredMembers);
  for (auto _ : state) {
    Exec(db, "BEGIN IMMEDIATE");
    Exec(db, "CREATE TABLE Members (InGroupAccount TEXT NOT NULL)");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO Members (InGroupAccount) VALUES (?)", -1, &insert, nullptr);
    for (const auto& name : members) {
      sqlite3_bind_text16(insert, 1, name.data(), static_cast<int>(name.size() * 2), SQLITE_STATIC);
      if (sqlite3_step(insert) != SQLITE_DONE) std::abort();
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    Exec(db, "COMMIT");
    state.PauseTiming();
    Exec(db, "DROP TABLE Members");
    state.ResumeTiming();
  }
  sqlite3_close(db);
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kStoredMembers));
}
BENCHMARK(BM_SqliteBulkInsert)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
