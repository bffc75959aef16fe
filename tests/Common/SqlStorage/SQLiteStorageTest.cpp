#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Common/Guid.h"
#include "tests/Common/SqlStorage/StorageTestSupport.h"

namespace {

const std::u16string kGuidText = u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}";

TEST(SQLiteStorageTest, RowsCarryTheirColumnsAsTypedAttributes) {
  const auto storage = OpenStorage(u":memory:");
  ASSERT_EQ(
      RunSql(storage,
             u"CREATE TABLE T (G GUID, U uniqueidentifier, I INTEGER, R REAL, S TEXT, B BLOB, "
             u"N TEXT, Bad GUID, GB GUID);"
             u"INSERT INTO T VALUES ('0dd265d7-9c92-4fc0-9cbe-32d691746561', "
             u"'{0DD265D7-9C92-4FC0-9CBE-32D691746561}', -7, 2.5, 'text', x'00AB', NULL, "
             u"'not a guid', x'D765D20D929CC04F9CBE32D691746561');"),
      S_OK);
  const VXNodePtr rows = Query(storage, u"SELECT * FROM T");
  ASSERT_EQ(rows.ChildCount(), 1u);
  const VXNodePtr row = rows.ChildAt(0);
  struct Case {
    const char16_t* column;
    uint32_t type;
    std::u16string text;  // as GetString reads it
  };
  const Case cases[] = {
      {u"G", VXN_GUID, kGuidText},
      {u"U", VXN_GUID, kGuidText},
      {u"I", VXN_INT64, u"-7"},
      {u"R", VXN_STRING, u"2.5"},
      {u"S", VXN_STRING, u"text"},
      {u"B", VXN_STRING, u"0x00AB"},
      {u"Bad", VXN_STRING, u"not a guid"},
      {u"GB", VXN_GUID, kGuidText},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.column));
    EXPECT_EQ(row.GetAttributeType(c.column), std::optional<uint32_t>(c.type));
    EXPECT_EQ(row.GetString(c.column), c.text);
  }
  EXPECT_EQ(row.GetAttributeType(u"N"), std::optional<uint32_t>(VXN_EMPTY));
  EXPECT_EQ(row.AttributeNames(),
            (std::vector<std::u16string>{u"G", u"U", u"I", u"R", u"S", u"B", u"N", u"Bad", u"GB"}));

  // Without a declared type, only a text in the braced form is a GUID.
  const VXNodePtr written =
      Query(storage, u"SELECT '" + kGuidText +
                         u"' AS Braced, '0DD265D7-9C92-4FC0-9CBE-32D691746561' AS Bare, "
                         u"'{0DD265D7-9C92-4FC0-9CBE-32D69174656X}' AS Wrong")
          .ChildAt(0);
  EXPECT_EQ(written.GetAttributeType(u"Braced"), std::optional<uint32_t>(VXN_GUID));
  EXPECT_EQ(written.GetGuid(u"Braced"), MakeGuid(kGuidText));
  EXPECT_EQ(written.GetAttributeType(u"Bare"), std::optional<uint32_t>(VXN_STRING));
  EXPECT_EQ(written.GetAttributeType(u"Wrong"), std::optional<uint32_t>(VXN_STRING));
}

TEST(SQLiteStorageTest, RowsOfEveryStatementInOrderUnlessNoResult) {
  const auto storage = OpenStorage(u":memory:");
  const std::u16string batch =
      u"SELECT 1 AS A; CREATE TABLE T (A); SELECT 2 AS A UNION ALL SELECT 3";
  const VXNodePtr rows = Query(storage, batch);
  ASSERT_EQ(rows.ChildCount(), 3u);
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(rows.ChildAt(i).GetType(), u"Row");
    EXPECT_EQ(rows.ChildAt(i).GetInt64(u"A", 0), i + 1);
  }
  VXNodePtr none;
  ASSERT_EQ(storage->Execute(SqlCommand(u"SELECT 1 AS A", true), &none), S_OK);
  EXPECT_EQ(none.ChildCount(), 0u);
  // The result may be left out.
  EXPECT_EQ(storage->Execute(SqlCommand(u"SELECT 1 AS A", false), nullptr), S_OK);
  // Batches without statements.
  for (const char16_t* empty : {u"", u"  \n\t", u"-- a comment", u"/* a comment */ ;", u";;"}) {
    SCOPED_TRACE(ToUtf8(empty));
    EXPECT_EQ(Query(storage, empty).ChildCount(), 0u);
  }
}

TEST(SQLiteStorageTest, AFailedBatchRollsBackWholeWithSQLitesMessage) {
  struct Case {
    const char16_t* batch;
    const char* message;
  };
  const Case cases[] = {
      // a statement that fails when it runs
      {u"CREATE TABLE T (A UNIQUE); INSERT INTO T VALUES (1); INSERT INTO T VALUES (1);",
       "UNIQUE constraint failed: T.A"},
      // one that SQLite cannot read, after others that ran
      {u"CREATE TABLE T (A); INSERT INTO T VALUES (1); INSERT INTO Missing VALUES (1);",
       "no such table: Missing"},
      // the last statement fails after all others succeeded
      {u"CREATE TABLE T (A); INSERT INTO T VALUES (1); SELECT no_such_function();",
       "no such function"},
  };
  const auto storage = OpenStorage(u":memory:");
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.batch));
    EXPECT_EQ(RunSql(storage, c.batch), E_FAIL);
    const std::string text = TakeErrorText();
    EXPECT_NE(text.find("SQLite: "), std::string::npos) << text;
    EXPECT_NE(text.find(c.message), std::string::npos) << text;
    EXPECT_EQ(Query(storage, u"SELECT name FROM sqlite_master WHERE name = 'T'").ChildCount(), 0u);
  }
  // The connection is usable afterwards; no transaction was left open.
  EXPECT_EQ(RunSql(storage, u"CREATE TABLE T (A); INSERT INTO T VALUES (1);"), S_OK);
  EXPECT_EQ(Query(storage, u"SELECT A FROM T").ChildCount(), 1u);
}

TEST(SQLiteStorageTest, ABatchMayNotEndItsOwnTransaction) {
  const auto storage = OpenStorage(u":memory:");
  EXPECT_EQ(RunSql(storage, u"CREATE TABLE T (A); COMMIT; INSERT INTO T VALUES (1);"),
            E_INVALIDARG);
  EXPECT_NE(TakeErrorText().find("ended its transaction"), std::string::npos);
  EXPECT_EQ(RunSql(storage, u"BEGIN; SELECT 1;"), E_FAIL);
  EXPECT_NE(TakeErrorText().find("within a transaction"), std::string::npos);
  EXPECT_EQ(RunSql(storage, u"INSERT INTO T VALUES (2);"), S_OK);
}

TEST(SQLiteStorageTest, ServerDialectLiteralsKeepTheirValues) {
  const auto storage = OpenStorage(u":memory:");
  ASSERT_EQ(RunSql(storage, u"CREATE TABLE [Odd]]Name] (V TEXT);"), S_OK);
  const std::u16string withNul(u"a\0b\0", 4);
  // Long names and other characters: the dialect's tests and the odd-names golden case.
  const std::u16string values[] = {u"o'brien", withNul, u"N'not a prefix'", u"-- not a comment",
                                   u"[x]]"};
  std::u16string batch;
  for (const auto& value : values) {
    std::u16string escaped;
    for (char16_t c : value) escaped += c == u'\'' ? u"''" : std::u16string(1, c);
    batch += u"INSERT INTO [Odd]]Name] (V) VALUES (N'" + escaped + u"');\n";
  }
  ASSERT_EQ(RunSql(storage, batch), S_OK) << TakeErrorText();
  const VXNodePtr rows = Query(storage, u"SELECT V FROM `Odd]Name` ORDER BY rowid");
  ASSERT_EQ(rows.ChildCount(), std::size(values));
  for (uint32_t i = 0; i < rows.ChildCount(); ++i) {
    EXPECT_EQ(rows.ChildAt(i).GetString(u"V"), values[i]) << i;
  }
  // Both spellings of the prefix, and the stored NUL compares equal.
  EXPECT_EQ(
      Query(storage, u"SELECT V FROM [Odd]]Name] WHERE V = n'o''brien' OR V = N'" + withNul + u"'")
          .ChildCount(),
      2u);
}

TEST(SQLiteStorageTest, BadSettingsAndCommandsFail) {
  CompPtr<IVXSQLStorage> storage;
  ASSERT_EQ(CComponentObject<CSQLiteStorage>::Create(IVXSQLStorage::kIid, storage.ReceiveVoid()),
            S_OK);
  EXPECT_EQ(RunSql(storage, u"SELECT 1"), E_INVALID_STATE);

  struct Case {
    const char* what;
    std::optional<std::u16string> database;
    std::optional<int32_t> busyTimeoutMs;
    HRESULT expected;
  };
  const Case cases[] = {
      {"no Database", std::nullopt, std::nullopt, E_NOTFOUND},
      {"empty Database", u"", std::nullopt, E_INVALIDARG},
      {"NUL in Database", std::u16string(u"a\0b", 3), std::nullopt, E_INVALIDARG},
      {"negative time-out", u":memory:", -1, E_INVALIDARG},
      {"time-out too long", u":memory:", 600001, E_INVALIDARG},
      {"no such directory", u"/no-such-directory/x.db", std::nullopt, E_FAIL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const VXNodePtr settings = VXNodePtr::Create(u"StorageSettings");
    if (c.database) settings.SetString(u"Database", *c.database);
    if (c.busyTimeoutMs) settings.SetInt32(u"BusyTimeoutMs", *c.busyTimeoutMs);
    EXPECT_EQ(storage->Configure(settings), c.expected);
  }
  EXPECT_EQ(storage->Configure(VXNodePtr()), E_INVALIDARG);

  const auto configured = OpenStorage(u":memory:");
  EXPECT_EQ(configured->Execute(VXNodePtr(), nullptr), E_INVALIDARG);
  EXPECT_EQ(configured->Execute(VXNodePtr::Create(u"Command"), nullptr), E_NOTFOUND);
  const VXNodePtr nulOutsideLiteral = SqlCommand(std::u16string(u"SELECT 1\0;", 10), true);
  EXPECT_EQ(configured->Execute(nulOutsideLiteral, nullptr), E_INVALIDARG);
}

TEST(SQLiteStorageTest, ConfigureKeepsTheOpenDatabaseOrReplacesItWhole) {
  TempDatabase file;
  const auto storage = OpenStorage(u":memory:");
  ASSERT_EQ(RunSql(storage, u"CREATE TABLE Kept (A)"), S_OK);
  const auto configure = [&](const std::u16string& database) {
    const VXNodePtr settings = VXNodePtr::Create(u"StorageSettings");
    settings.SetString(u"Database", database);
    settings.SetBool(u"db_readonly", true);  // ignored: the sessions are written through it
    return storage->Configure(settings);
  };
  const std::u16string kept = u"SELECT name FROM sqlite_master WHERE name = 'Kept'";

  ASSERT_EQ(configure(u":memory:"), S_OK);  // the same database stays open
  EXPECT_EQ(Query(storage, kept).ChildCount(), 1u);
  EXPECT_EQ(configure(u"/no-such-directory/x.db"), E_FAIL);  // the old one stays in use
  EXPECT_NE(TakeErrorText().find("/no-such-directory/x.db"), std::string::npos);
  EXPECT_EQ(Query(storage, kept).ChildCount(), 1u);
  ASSERT_EQ(configure(file.Name()), S_OK);  // another database
  EXPECT_EQ(Query(storage, kept).ChildCount(), 0u);
  ASSERT_EQ(RunSql(storage, u"CREATE TABLE Written (A)"), S_OK);
  EXPECT_TRUE(std::filesystem::exists(file.Path()));
}

TEST(SQLiteStorageTest, ABusyDatabaseFailsWithTimeOutAfterTheBusyTimeOut) {
  TempDatabase file;
  const auto storage = OpenStorage(file.Name(), 50);
  ASSERT_EQ(RunSql(storage, u"CREATE TABLE T (A)"), S_OK);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.Path().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(RunSql(storage, u"INSERT INTO T VALUES (1)"), E_TIMEOUT);
  EXPECT_NE(TakeErrorText().find("database is locked"), std::string::npos);
  ASSERT_EQ(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(other);
  EXPECT_EQ(RunSql(storage, u"INSERT INTO T VALUES (1)"), S_OK);
}

TEST(SQLiteStorageTest, BatchesFromSeveralThreadsEachRunWhole) {
  const auto storage = OpenStorage(u":memory:");
  ASSERT_EQ(RunSql(storage, u"CREATE TABLE T (Thread INTEGER, Step INTEGER)"), S_OK);
  constexpr int kThreads = 4;
  constexpr int kBatches = 25;
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kBatches; ++i) {
        // Two rows per batch; a reader sees both or neither.
        const std::u16string values = u"(" + ToText(t) + u", " + ToText(i) + u")";
        if (RunSql(storage, u"INSERT INTO T VALUES " + values + u"; INSERT INTO T VALUES " +
                                values) != S_OK) {
          ++failures;
        }
        const VXNodePtr odd = Query(storage, u"SELECT COUNT(*) % 2 AS Odd FROM T");
        if (odd.ChildAt(0).GetInt64(u"Odd", -1) != 0) ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(Query(storage, u"SELECT COUNT(*) AS N FROM T").ChildAt(0).GetInt64(u"N", 0),
            2 * kThreads * kBatches);
}

}  // namespace
