#include <gtest/gtest.h>

#include "ProcessorRunner.h"
#include "QueriesProcessing/Scriptwright/Shaping/DistinctProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/GroupByProcessor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RunProcessor;

constexpr const char* kDistinct = R"x(<_>
    <DistinctEntry Name="a" Type="nvarchar(64)" RequiredCollate="bool:true"/>
    <DistinctEntry Name="b" Type="int" RequiredCollate="bool:false"/>
    <DistinctEntry Name="b" Type="bigint" RequiredCollate="bool:true"/>
    <DistinctEntry Name="What_Action" Type="nvarchar(max)" RequiredCollate="bool:true"/>
    <Other Name="c" Type="x"/>
  </_>)x";

std::string Distinct(const std::string& entries, const std::u16string& token) {
  return RunProcessor<CDistinctProcessor>(
      kDistinct, Parse("<Query><_ _name=\"SortingRoot\">" + entries + "</_></Query>"), token);
}

TEST(DistinctProcessorTest, Lists) {
  const std::string ab = R"x(<_ Column="b" Order="i32:2"/><_ Column="RID"/><_ Column="a" Order="i32:1"/>)x";
  const std::string action = R"x(<_ Column="What_Action"/><_ Column="RID"/>)x";
  struct Case {
    std::string entries;
    std::u16string token;
    std::string expected;
  } cases[] = {
      {ab, u"%DISTINCT_FIELD%", "  [a], [b]"},
      {ab, u"%DISTINCT_CM_FIELD%", "  @a, @b"},
      {ab, u"%DISTINCT_TABLE_FIELD%", "[a] nvarchar(64) COLLATE database_default NULL,[b] int  NULL "},
      {ab, u"%DISTINCT_DECLARE_CM_FIELD%", "  @a nvarchar(64), @b int"},
      {ab, u"%DISTINCT_CM_FIELD_INS%", "@a@b"},
      {action, u"%DISTINCT_FIELD%", "  [What_Action]"},
      {action, u"%DISTINCT_DECLARE_CM_FIELD%", "  @What_Action nvarchar(max), @What_ActionInt int = 0"},
      {action, u"%DISTINCT_CM_FIELD_INS%", "@What_ActionInt"},
      {R"x(<_ Column="RID"/>)x", u"[%DISTINCT_FIELD%|%DISTINCT_CM_FIELD%|%DISTINCT_TABLE_FIELD%|%DISTINCT_DECLARE_CM_FIELD%|%DISTINCT_CM_FIELD_INS%]",
       "[||||]"},
      // Columns without an entry fail only where their type is needed.
      {R"x(<_ Column="zz"/>)x", u"%DISTINCT_FIELD% %DISTINCT_CM_FIELD_INS% no tokens", "  [zz] @zz no tokens"},
      {R"x(<_ Column="zz"/>)x", u"%DISTINCT_TABLE_FIELD%", "error 0x80070057: %DISTINCT_TABLE_FIELD%"},
      {R"x(<_ Column="zz"/>)x", u"%DISTINCT_CM_FIELD%", "error 0x80070057: %DISTINCT_CM_FIELD%"},
      {R"x(<_ Order="i32:1"/>)x", u"%DISTINCT_FIELD%", "error 0x80070490: %DISTINCT_FIELD%"},
  };
  for (const auto& c : cases) EXPECT_EQ(Distinct(c.entries, c.token), c.expected) << ToUtf8(c.token);
  EXPECT_EQ(RunProcessor<CDistinctProcessor>(kDistinct, Parse("<Query/>"), u"x"), "error 0x80070490: x");
  EXPECT_EQ(RunProcessor<CDistinctProcessor>(R"x(<_><DistinctEntry Name="a" Type="int"/></_>)x", Parse("<Query/>"), u""),
            "load error 0x80070490");
}

std::string GroupBy(const std::string& config, const std::string& entries) {
  return RunProcessor<CGroupByProcessor>(
      config, Parse("<Query><_ _name=\"GroupByRoot\">" + entries + "</_></Query>"),
      u"SELECT %F% | GROUP BY %C% | DEFAULTS %D%");
}

TEST(GroupByProcessorTest, Lists) {
  const std::string full = R"x(<_ AliasFields="%F%" AliasClauseFields="%C%" AliasDefaultFields="%D%"
      DefaultFieldTemplate="ISNULL(%s, 0)" MatchingColumn="When" ColumnPrefix="MAX(" ColumnPostfix=")"
      CollateRequiredColumns='str[]:["Who"]'/>)x";
  const std::string plain = R"x(<_ AliasFields="%F%" AliasClauseFields="%C%" DefaultFieldTemplate="X(%s)"/>)x";
  const std::string entries =
      R"x(<_ Column="When" AliasTable="a" AliasColumn="Last" Order="i32:2"/><_ Column="Who" AliasTable="t]" Order="i32:1"/>)x";
  struct Case {
    std::string config, entries, expected;
  } cases[] = {
      {full, entries,
       "SELECT [t]]].[Who] COLLATE database_default AS [Who],MAX([a].[When]) AS [Last] | "
       "GROUP BY [t]]].[Who],MAX([a].[When]) | DEFAULTS ISNULL([Who], 0),ISNULL([When], 0)"},
      {plain, entries, "SELECT [t]]].[Who] AS [Who],[a].[When] AS [Last] | GROUP BY [t]]].[Who],[a].[When] | DEFAULTS %D%"},
      {full, "", "SELECT  | GROUP BY  | DEFAULTS "},
      {plain, R"x(<_ Column=""/>)x", "SELECT [] AS [] | GROUP BY [] | DEFAULTS %D%"},
      {full, R"x(<_ AliasTable="a"/>)x", "error 0x80070490: SELECT %F% | GROUP BY %C% | DEFAULTS %D%"},
  };
  for (const auto& c : cases) EXPECT_EQ(GroupBy(c.config, c.entries), c.expected) << c.entries;
  EXPECT_EQ(RunProcessor<CGroupByProcessor>(full, Parse("<Query/>"), u"x"), "error 0x80070490: x");
  EXPECT_EQ(RunProcessor<CGroupByProcessor>(R"x(<_ AliasFields="%F%"/>)x", Parse("<Query/>"), u""),
            "load error 0x80070490");
}

}  // namespace
}  // namespace QueriesProcessing
