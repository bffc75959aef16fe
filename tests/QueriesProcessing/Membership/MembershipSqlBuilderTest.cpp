#include <gtest/gtest.h>

#include <string>

#include "Common/Text.h"
#include "QueriesProcessing/Membership/MembershipSqlBuilder.h"

namespace QueriesProcessing {
namespace {

// Short templates, so that whole texts can be compared.
MembershipTablesConfig ShortConfig(int32_t batchSize = 1000) {
  MembershipTablesConfig config;
  config.sessionIdAlias = u"@S";
  config.tableNameTemplate = u"T_@S_@K";
  config.tableNameAlias = u"@T";
  config.inclusiveAlias = u"@K";
  config.inclusiveColumnName = u"InCol";
  config.exclusiveColumnName = u"OutCol";
  config.checkExistenceQueryTemplate = u"CHECK @S;";
  config.createTablesQueryTemplate = u"CREATE @S;";
  config.insertQueryTemplate = u"INSERT INTO @T (%COLUMN_NAME%) VALUES %MEMBERS%";
  config.updateStatisticsTemplate = u"STATS @T;";
  config.createDictQuery = u"DICT;";
  config.createSessionQueryTemplate = u"RECORD @S;";
  config.dropSessionQueryTemplate = u"DROP @S;";
  config.selectSessionsQuery = u"SESSIONS;";
  config.deleteSessionRecordsQueryTemplate = u"DELETE (%SESSIONS%);";
  config.insertBatchSize = batchSize;
  return config;
}

const GUID kId = MakeGuid(u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");
const GUID kOther = MakeGuid(u"{50A80F11-A323-4F79-884F-DAD619B23109}");
constexpr char16_t kIdText[] = u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}";

size_t Count(const std::u16string& text, std::u16string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::u16string::npos; at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

TEST(MembershipSqlBuilderTest, SessionTextsFromTheTemplates) {
  const CMembershipSqlBuilder sql(ShortConfig());
  const std::u16string id = kIdText;
  EXPECT_EQ(sql.TableName(kId, false), u"T_" + id + u"_InGroup");
  EXPECT_EQ(sql.TableName(kId, true), u"T_" + id + u"_NotInGroup");
  EXPECT_EQ(sql.SessionStatement(u"A @S B @S", kId), u"A " + id + u" B " + id);
  EXPECT_EQ(sql.StoreBatch(kId, {{u"o'b"}, {u"x"}, false}),
            u"CREATE " + id + u";RECORD " + id + u";INSERT INTO T_" + id +
                u"_InGroup (InCol) VALUES (N'o''b');\nINSERT INTO T_" + id +
                u"_NotInGroup (OutCol) VALUES (N'x');\nSTATS T_" + id + u"_InGroup;STATS T_" + id +
                u"_NotInGroup;");
  // No members: both tables, no inserts, both statistics.
  EXPECT_EQ(sql.StoreBatch(kId, {}), u"CREATE " + id + u";RECORD " + id + u";STATS T_" + id +
                                         u"_InGroup;STATS T_" + id + u"_NotInGroup;");
  EXPECT_EQ(sql.ReleaseBatch(kId), u"DROP " + id + u";DELETE (N'" + id + u"');");

  const auto drop = sql.DropBatch({kId, kOther});
  const std::u16string other = FormatGuid(kOther, 0);
  EXPECT_EQ(drop.sql,
            u"DROP " + id + u";DROP " + other + u";DELETE (N'" + id + u"', N'" + other + u"');");
  EXPECT_EQ(drop.sessions, u"N'" + id + u"', N'" + other + u"'");
  EXPECT_TRUE(sql.DropBatch({}).sql.empty());
}

TEST(MembershipSqlBuilderTest, InsertsTakeBatchSizeRowsEach) {
  struct Case {
    int32_t batchSize;
    size_t members;
    size_t statements;
    size_t rowsInFirst;
  };
  for (const Case& c : {Case{1000, 1001, 2, 1000}, Case{1000, 1000, 1, 1000}, Case{2, 5, 3, 2}}) {
    SCOPED_TRACE(testing::Message() << c.batchSize << " " << c.members);
    const CMembershipSqlBuilder sql(ShortConfig(c.batchSize));
    MemberSet members;
    for (size_t i = 0; i < c.members; ++i) {
      members.insert(u"m" + ToTextUnsigned(i) + (i % 7 == 0 ? u"'" : u""));
    }
    std::u16string text = u"head;";
    sql.AppendInsert(text, kId, members, false);
    ASSERT_EQ(text.substr(0, 5), u"head;");
    EXPECT_EQ(Count(text, u";\n"), c.statements);
    EXPECT_EQ(Count(text, u"INSERT INTO "), c.statements);
    EXPECT_EQ(Count(text.substr(0, text.find(u";\n")), u"(N'"), c.rowsInFirst);
    EXPECT_EQ(Count(text, u"(N'"), c.members);
    EXPECT_EQ(text.substr(text.size() - 4), u"');\n");
  }
}

TEST(MembershipSqlBuilderTest, TheTemplatePlacesTheMembersAndNamesAreNeverScanned) {
  struct Case {
    const char16_t* insert;  // the template
    MemberSet members;
    std::u16string text;
  } cases[] = {
      {u"A %MEMBERS% B %MEMBERS% C", {u"x"}, u"A (N'x') B (N'x') C;\n"},
      {u"NOTHING", {u"x", u"y", u"z"}, u"NOTHING;\nNOTHING;\n"},  // one per batch all the same
      {u"%MEMBERS%", {u"%MEMBERS%"}, u"(N'%MEMBERS%');\n"},
      {u"@T %MEMBERS%", {u"@T @S %COLUMN_NAME%'"},
       u"T_" + std::u16string(kIdText) + u"_NotInGroup (N'@T @S %COLUMN_NAME%''');\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.insert));
    MembershipTablesConfig config = ShortConfig(2);
    config.insertQueryTemplate = c.insert;
    std::u16string text;
    CMembershipSqlBuilder(config).AppendInsert(text, kId, c.members, true);
    EXPECT_EQ(text, c.text);
  }
}

}  // namespace
}  // namespace QueriesProcessing
