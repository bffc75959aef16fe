#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

#include <gtest/gtest.h>

#include "ProcessorRunner.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RunProcessor;

constexpr const char* kConfig = R"x(<_ ExcludeColumnBracket='str[]:["Raw","[Pre]"]'/>)x";

// The WHERE text for one request, with "%CONDITION%" as the whole template.
std::string Where(const std::string& conditions, const std::string& requestAttributes = "") {
  VXNodePtr request = Parse("<Query " + requestAttributes + ">" + conditions + "</Query>");
  return RunProcessor<CConditionsProcessor>(kConfig, request, u"%CONDITION%");
}

std::string Wrap(const std::string& condition) {
  return "<ConditionsRoot _name=\"Conditions\">" + condition + "</ConditionsRoot>";
}

// Comparisons, IN lists, AND and NOT as the examples write them are pinned by
// the golden cases; these are the other fragments.
TEST(ConditionsProcessorTest, Fragments) {
  const std::string when = R"x(<ConditionValues Columnn="When" AliasTable="t" Comparator="&gt;=" Value="o'x"/>)x";
  const std::string inList = R"x(<Condition operator="IN"><_ Columnn="Who" Values='str[]:["a","b"]'/></Condition>)x";
  const std::string notIn = R"x(<Condition operator="NOT IN"><_ Columnn="Id" Values="i32[]:[1,2]"/></Condition>)x";
  struct Case {
    std::string conditions, expected;
  } cases[] = {
      {when, " ([t].[When] >= N'o''x') "},
      {R"x(<ConditionValues Columnn="When" Comparator=" IS NOT NULL"/>)x", " ([When]  IS NOT NULL) "},
      {R"x(<ConditionValues Columnn="When" Comparator="IS NULL" Value="x"/>)x", " ([When] IS NULL N'x') "},
      {notIn, " ([Id] NOT IN (1,2)) "},
      {R"x(<Condition operator="IN"><_ Columnn="Id" Values="u32[]:[7]"/></Condition>)x", " ([Id] IN (7)) "},
      {R"x(<Condition operator="IN"><_ Columnn="Id" Values="i64[]:[7]"/></Condition>)x", " ([Id] IN (N'7')) "},
      {R"x(<Condition operator="IN"><_ Columnn="c" Values="str[]:[]"/></Condition>)x", " ([c] IN ()) "},
      {"<Condition operator=\"AND\">" + when + notIn + "</Condition>",
       " ( ([t].[When] >= N'o''x')  AND  ([Id] NOT IN (1,2)) ) "},
      {"<Condition operator=\"NOT\">" + inList + "</Condition>", " ( NOT ([Who] IN (N'a',N'b'))  ) "},
      {"<Condition operator=\"OR\">" + when + "</Condition>", " ( ([t].[When] >= N'o''x') ) "},
      {R"x(<Condition operator="AND"/>)x", " (1=1) "},
      {R"x(<Condition operator="IN"/>)x", "(1=1)"},
      {R"x(<Condition operator="NOT"/>)x", "(1=1)"},
      {R"x(<Condition operator="and"><ConditionBool Value="bool:true"/></Condition>)x", ""},
      {R"x(<ConditionBool Value="bool:true"/>)x", " (1=1) "},
      {R"x(<ConditionBool/>)x", " (2=1) "},
      {R"x(<Unknown Columnn="x"/>)x", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(Where(Wrap(c.conditions)), c.expected) << c.conditions;
}

TEST(ConditionsProcessorTest, RootsAndSeparators) {
  const std::string a = R"x(<ConditionValues Columnn="A" Value="1"/>)x";
  const std::string unknown = "<Odd/>";
  struct Case {
    std::string conditions, expected;
  } cases[] = {
      {"", "(1=1)"},
      {R"x(<ConditionsRoot _name="Conditions"/>)x", " (1=1) "},
      {R"x(<_ _name="Conditions"/>)x", ""},  // a root of no known type
      {Wrap(a + a), " ([A] = N'1')  ([A] = N'1') "},
      {Wrap("<Condition operator=\"AND\">" + unknown + a + "</Condition>"), " ( ([A] = N'1') ) "},
      {Wrap("<Condition operator=\"AND\">" + a + unknown + a + "</Condition>"),
       " ( ([A] = N'1')  AND  AND  ([A] = N'1') ) "},
      {Wrap("<Condition operator=\"AND\">" + a + unknown + "</Condition>"), " ( ([A] = N'1')  AND ) "},
  };
  for (const auto& c : cases) EXPECT_EQ(Where(c.conditions), c.expected) << c.conditions;
}

TEST(ConditionsProcessorTest, EscapingAndExclusions) {
  struct Case {
    std::string condition, expected;
  } cases[] = {
      {R"x(<ConditionValues Columnn="a]b" AliasTable="t]" EscapeRequired="bool:false" Value="x"/>)x",
       " ([t]]].a]b = N'x') "},
      {R"x(<ConditionValues Columnn="a]b" Value="it's"/>)x", " ([a]]b] = N'it''s') "},
      {R"x(<ConditionValues Columnn="Raw" Value="x"/>)x", " (Raw = N'x') "},
      {R"x(<ConditionValues Columnn="[Pre]" EscapeRequired="bool:true" Value="x"/>)x", " ([Pre] = N'x') "},
      {R"x(<Condition operator="IN"><_ Columnn="Raw" Values='str[]:["x"]'/></Condition>)x", " ([Raw] IN (N'x')) "},
      {R"x(<Condition operator="IN"><_ Columnn="Raw" EscapeRequired="bool:false" Values='str[]:["o&apos;k"]'/></Condition>)x",
       " (Raw IN (N'o''k')) "},
  };
  for (const auto& c : cases) EXPECT_EQ(Where(Wrap(c.condition)), c.expected) << c.condition;
}

TEST(ConditionsProcessorTest, TimeOffsetRewritesTheTree) {
  VXNodePtr request = Parse(R"x(<Query DateTimePart="hour" DateTimeOffset="-3">
      <ConditionsRoot _name="Conditions"><ConditionTimeValues Columnn="When" Comparator="&gt;" Value="2026-01-01"/></ConditionsRoot>
    </Query>)x");
  EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"%CONDITION%"),
            " ([When] > N'DATEADD(hour, -3, 2026-01-01)') ");
  EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"%CONDITION%"),
            " ([When] > N'DATEADD(hour, -3, DATEADD(hour, -3, 2026-01-01))') ");

  EXPECT_EQ(Where(Wrap(R"x(<ConditionTimeValues Columnn="When" Value="v"/>)x"), R"x(DateTimePart="hour")x"),
            " ([When] = N'v') ");
}

TEST(ConditionsProcessorTest, ClauseTokensAndHaving) {
  VXNodePtr request = Parse(R"x(<Query>
      <ConditionsRoot _name="HavingRoot"><ConditionBool Value="bool:true"/></ConditionsRoot>
    </Query>)x");
  EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"WHERE %CONDITION% HAVING %HAVING%"),
            "WHERE (1=1) HAVING  (1=1) ");
  EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"WHERE %CONDITION% AND %X% HAVING %H%",
                                               R"x(<variable_processor ConditionClauseAlias="%X%" HavingClauseAlias="%H%"/>)x"),
            "WHERE %CONDITION% AND (1=1) HAVING  (1=1) ");
  EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"%CONDITION%",
                                               R"x(<variable_processor ConditionClauseAlias="null:"/>)x"),
            "(1=1)");
}

TEST(ConditionsProcessorTest, Failures) {
  struct Case {
    std::string condition;
  } cases[] = {
      {"<Condition/>"},
      {R"x(<ConditionValues Value="x"/>)x"},
      {R"x(<ConditionValues Columnn="c"/>)x"},
      {R"x(<Condition operator="IN"><_ Columnn="c"/></Condition>)x"},
      {R"x(<Condition operator="IN"><_ Values="str[]:[]"/></Condition>)x"},
  };
  for (const auto& c : cases) {
    VXNodePtr request = Parse("<Query>" + Wrap(c.condition) + "</Query>");
    EXPECT_EQ(RunProcessor<CConditionsProcessor>(kConfig, request, u"A %CONDITION% B %HAVING%"),
              "error 0x80070490: A %CONDITION% B %HAVING%")
        << c.condition;
  }
  EXPECT_EQ(RunProcessor<CConditionsProcessor>("<_/>", Parse("<Query/>"), u""), "load error 0x80070490");
}

}  // namespace
}  // namespace QueriesProcessing
