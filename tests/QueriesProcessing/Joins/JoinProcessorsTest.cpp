#include <gtest/gtest.h>

#include "JoinsTestSupport.h"
#include "QueriesProcessing/Scriptwright/Joins/CommonJoinProcessor.h"
#include "QueriesProcessing/Scriptwright/Joins/JoinProcessor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RegisterConditions;
using Testing::Text;
using Testing::Where;

// Loads a processor and runs it over `text`; the result, or "error 0x..."
// followed by the text as the failed call left it.
template <typename Processor>
std::string Process(const std::string& config, VXNodePtr request, const std::string& text,
                    const std::string& variable = "") {
  Processor processor;
  const HRESULT loaded = processor.Initialize(Parse(config));
  if (Failed(loaded)) return "load error " + std::to_string(static_cast<uint32_t>(loaded));
  std::u16string working = ToUtf16(text);
  const HRESULT status = processor.ProcessNode(request, Parse(variable), working);
  if (Failed(status))
    return "error " + std::to_string(static_cast<uint32_t>(status)) + " " + ToUtf8(working);
  return ToUtf8(working);
}

constexpr const char* kJoinConfig =
    R"(<_ Alias="%JOINS%" JoinTemplate="J%index%">)"
    R"(<_ _name="NodeConversion"><_ _name="ConditionValues">)"
    R"(<_ _name="NodeMatching" Columnn="Server"/><_ _name="NodeTemplate" AliasTable="s%index%" Columnn="Name"/>)"
    R"(</_></_></_>)";

std::string Server(const std::string& value, const std::string& index) {
  return R"(<ConditionValues Columnn="Server" Value=")" + value + "\"" +
         (index.empty() ? "" : " JoinIndex=\"" + index + "\"") + "/>";
}

VXNodePtr Request(const std::string& conditions) {
  return Parse(R"(<Query><ConditionsRoot _name="Conditions"><Condition operator="AND">)" +
               conditions + "</Condition></ConditionsRoot></Query>");
}

TEST(JoinProcessorTest, JoinsComeOutByAscendingIndex) {
  struct Case {
    std::string conditions, joins, where;
  } cases[] = {
      {Server("x", "i32:3") + Server("y", "i32:-1") + Server("z", "u32:0"), "J-1\nJ0\nJ3",
       " ( ([s3].[Name] = N'x')  AND  ([s-1].[Name] = N'y')  AND  ([s0].[Name] = N'z') ) "},
      {Server("x", "7"), "J7", " ( ([s7].[Name] = N'x') ) "},  // a text that reads as a number
      // Accepted but without JoinIndex: no join, and no conversion.
      {Server("x", "") + Server("y", "i32:4"), "J4",
       " ( ([Server] = N'x')  AND  ([s4].[Name] = N'y') ) "},
      // JoinIndex on nodes the conversion does not accept.
      {R"(<ConditionValues Columnn="Who" Value="a" JoinIndex="i32:1"/>)"
       R"(<ConditionTimeValues Columnn="Server" Value="b" JoinIndex="i32:2"/>)",
       "", " ( ([Who] = N'a')  AND  ([Server] = N'b') ) "},
      {"", "", " (1=1) "},
  };
  for (const auto& c : cases) {
    VXNodePtr request = Request(c.conditions);
    EXPECT_EQ(Process<CJoinProcessor>(kJoinConfig, request, "<%JOINS%>"), "<" + c.joins + ">")
        << c.conditions;
    EXPECT_EQ(Where(request), c.where) << c.conditions;
  }
}

TEST(JoinProcessorTest, IndexGoesIntoTheNodesStringAttributesOnly) {
  VXNodePtr request = Request(
      R"(<ConditionValues Columnn="Server" Value="x" JoinIndex="i32:2" Note="%index%-%index%" Plain="none")"
      R"( Names='str[]:["%index%"]' Flag="bool:true"><_ Inner="%index%"/></ConditionValues>)");
  EXPECT_EQ(Process<CJoinProcessor>(kJoinConfig, request, "%JOINS%"), "J2");
  const VXNodePtr node = request.GetChild(u"Conditions").ChildAt(0).ChildAt(0);
  EXPECT_EQ(
      Text(node),
      R"(<ConditionValues Columnn="Name" Value="x" JoinIndex="i32:2" Note="2-2" Plain="none")"
      R"( Names="str[]:[&quot;%index%&quot;]" Flag="bool:true" AliasTable="s2"><_ Inner="%index%"/></ConditionValues>)");
}

TEST(JoinProcessorTest, PerUseSettings) {
  const std::string request = Server("x", "i32:2");
  struct Case {
    const char* name;
    std::string variable, text;
  } cases[] = {
      {"none", "", "<J2|%OTHER%>"},
      {"alias", R"(<variable_processor Alias="%OTHER%"/>)", "<%JOINS%|J2>"},
      // A conversion of its own that takes every ConditionValues, and the
      // request node itself, which is never looked at.
      {"conversion",
       R"(<variable_processor><_ _name="NodeConversion"><_ _name="ConditionValues"><_ _name="NodeMatching"/></_>)"
       R"(<_ _name="Query"><_ _name="NodeMatching"/></_></_></variable_processor>)",
       "<J1\nJ2|%OTHER%>"},
      {"empty conversion",
       R"(<variable_processor><_ _name="NodeConversion"/></variable_processor>)", "<|%OTHER%>"},
  };
  for (const auto& c : cases) {
    VXNodePtr query =
        Request(request + R"(<ConditionValues Columnn="Who" Value="a" JoinIndex="i32:1"/>)");
    query.SetInt32(u"JoinIndex", 9);
    EXPECT_EQ(Process<CJoinProcessor>(kJoinConfig, query, "<%JOINS%|%OTHER%>", c.variable), c.text)
        << c.name;
  }
  // The configured conversion is optional.
  VXNodePtr query = Request(request);
  EXPECT_EQ(Process<CJoinProcessor>(R"(<_ Alias="%JOINS%" JoinTemplate="J%index%"/>)", query,
                                    "<%JOINS%>"),
            "<>");
}

TEST(JoinProcessorTest, Failures) {
  EXPECT_EQ(Process<CJoinProcessor>(R"(<_ JoinTemplate="J"/>)", Request(""), ""),
            "load error 2147943568");
  EXPECT_EQ(Process<CJoinProcessor>(R"(<_ Alias="A"/>)", Request(""), ""), "load error 2147943568");
  EXPECT_EQ(Process<CJoinProcessor>(
                R"(<_ Alias="A" JoinTemplate="J"><_ _name="NodeConversion"><_ _name="X"/></_></_>)",
                Request(""), ""),
            "load error 2147943568");
  // A JoinIndex that is no number fails the request; the text stays.
  EXPECT_EQ(Process<CJoinProcessor>(kJoinConfig, Request(Server("x", "two")), "<%JOINS%>"),
            "error 2147942413 <%JOINS%>");
}

constexpr const char* kCommonConfig = R"(<_ JoinClauseTemplate="%s JOIN %s ON %s"/>)";

std::string Entries(const std::string& entries) {
  return "<variable_processor>" + entries + "</variable_processor>";
}

// A condition for the JoinConstraintCondition route.
constexpr const char* kConstraintCondition =
    R"(<_ _name="JoinConstraintCondition" DateTimePart="hour" DateTimeOffset="-5"><ConditionsRoot _name="Conditions">)"
    R"(<ConditionTimeValues Columnn="When" Value="2026-01-01"/></ConditionsRoot></_>)";

TEST(CommonJoinProcessorTest, Clauses) {
  struct Case {
    const char* name;
    std::string variable, text;
  } cases[] = {
      {"one entry",
       Entries(
           R"(<JoinEntry JoinType="LEFT" JoinedTable="[dbo].[Servers] AS s" PlainJoinConstraint="s.[Id] = r.[ServerId]"/>)"),
       "FROM r LEFT JOIN [dbo].[Servers] AS s ON s.[Id] = r.[ServerId] WHERE"},
      {"default type, other children skipped, line between clauses",
       Entries(
           R"(<JoinEntry JoinedTable="a" PlainJoinConstraint="1=1"/><Other JoinedTable="x"/>)"
           R"(<JoinEntry JoinType="CROSS" JoinedTable="b" PlainJoinConstraint="%CONDITION%"/>)"),
       "FROM r INNER JOIN a ON 1=1\nCROSS JOIN b ON %CONDITION% WHERE"},
      {"no entries", Entries(""), "FROM r  WHERE"},
      {"no variable node", "", "FROM r %JOIN_CLAUSE% WHERE"},
  };
  RegisterConditions();
  for (const auto& c : cases) {
    EXPECT_EQ(Process<CCommonJoinProcessor>(kCommonConfig, Parse("<Query/>"),
                                            "FROM r %JOIN_CLAUSE% WHERE", c.variable),
              c.text)
        << c.name;
  }
  // The catalogue's condition is walked as a copy: its values stay.
  CCommonJoinProcessor processor;
  ASSERT_EQ(
      processor.Initialize(Parse(R"(<_ JoinClauseAlias="%J%" JoinClauseTemplate="%s|%s|%s"/>)")),
      S_OK);
  const VXNodePtr variable = Parse(Entries(std::string(R"(<JoinEntry JoinedTable="c">)") +
                                           kConstraintCondition + "</JoinEntry>"));
  const std::string before = Text(variable);
  VXNodePtr request = Parse("<Query/>");
  std::u16string text = u"%J%";
  ASSERT_EQ(processor.ProcessNode(request, variable, text), S_OK);
  EXPECT_EQ(text, u"INNER|c|");
  EXPECT_EQ(Text(variable), before);
}

TEST(CommonJoinProcessorTest, Failures) {
  EXPECT_EQ(Process<CCommonJoinProcessor>(R"(<_ JoinClauseAlias="%J%"/>)", Parse("<Query/>"), ""),
            "load error 2147943568");
  struct Case {
    const char* name;
    bool conditionsRegistered;
    std::string entries, result;
  } cases[] = {
      {"a bad condition", true,
       R"(<JoinEntry JoinedTable="a"><_ _name="JoinConstraintCondition"><ConditionsRoot _name="Conditions">)"
       R"(<ConditionValues Value="x"/></ConditionsRoot></_></JoinEntry>)",
       "error 2147943568 <%JOIN_CLAUSE%>"},
      {"%CONDITION% not configured", false,
       std::string(R"(<JoinEntry JoinedTable="a">)") + kConstraintCondition + "</JoinEntry>",
       "error 2147942487 <%JOIN_CLAUSE%>"},
      {"a plain constraint never asks %CONDITION%", false,
       std::string(R"(<JoinEntry JoinedTable="a" PlainJoinConstraint="x">)") +
           kConstraintCondition + "</JoinEntry>",
       "<INNER JOIN a ON x>"},
      {"a later bad entry keeps the text whole", true,
       R"(<JoinEntry JoinedTable="a" PlainJoinConstraint="1=1"/><JoinEntry/>)",
       "error 2147943568 <%JOIN_CLAUSE%>"},
  };
  for (const auto& c : cases) {
    RegisterConditions(c.conditionsRegistered);
    EXPECT_EQ(Process<CCommonJoinProcessor>(kCommonConfig, Parse("<Query/>"), "<%JOIN_CLAUSE%>",
                                            Entries(c.entries)),
              c.result)
        << c.name;
  }
}

}  // namespace
}  // namespace QueriesProcessing
