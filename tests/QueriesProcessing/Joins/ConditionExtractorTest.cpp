#include <gtest/gtest.h>

#include "JoinsTestSupport.h"
#include "QueriesProcessing/Scriptwright/Joins/ConditionExtractor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RegisterConditions;
using Testing::Text;
using Testing::Where;

constexpr const char* kConfig =
    R"x(<_ Alias="%SERVER_FILTER%" ResultConditionTemplate="EXISTS (SELECT 1 FROM s WHERE %CONDITION%)">)x"
    R"(<_ _name="NodeConversion"><_ _name="ConditionValues">)"
    R"(<_ _name="NodeMatching" Columnn="Server"/><_ _name="NodeTemplate" AliasTable="s"/>)"
    R"(</_></_></_>)";

std::string Who(const std::string& value) {
  return R"(<ConditionValues Columnn="Who" Value=")" + value + "\"/>";
}
std::string Server(const std::string& value) {
  return R"(<ConditionValues Columnn="Server" Value=")" + value + "\"/>";
}
std::string Op(const std::string& op, const std::string& children) {
  return "<Condition operator=\"" + op + "\">" + children + "</Condition>";
}

VXNodePtr Request(const std::string& conditions) {
  return Parse(R"(<Query><ConditionsRoot _name="Conditions">)" + conditions +
               "</ConditionsRoot></Query>");
}

// Runs the extractor over "<%SERVER_FILTER%>"; the text, or "error 0x...".
std::string Extract(VXNodePtr& request, const std::string& variable = "",
                    const char* config = kConfig) {
  ConditionExtractor extractor;
  if (Failed(extractor.Initialize(Parse(config)))) return "load error";
  std::u16string text = u"<%SERVER_FILTER%>";
  const HRESULT status = extractor.ProcessNode(request, Parse(variable), text);
  if (Failed(status))
    return "error " + std::to_string(static_cast<uint32_t>(status)) + " " + ToUtf8(text);
  return ToUtf8(text);
}

TEST(ConditionExtractorTest, MovesMatchedConditionsAndPrunesEmptiedContainers) {
  struct Case {
    const char* name;
    std::string conditions, extracted, remaining;
  } cases[] = {
      {"an empty container stays", "", "<EXISTS (SELECT 1 FROM s WHERE  (1=1) )>", " (1=1) "},
      {"pruned upward in both trees",
       Op("AND", Who("a") + Op("OR", Server("b") + Op("NOT", Who("c")))),
       "<EXISTS (SELECT 1 FROM s WHERE  ( ( ([Server] = N'b') ) ) )>",
       " ( ([Who] = N'a')  AND  ( ( NOT ([Who] = N'c')  ) ) ) "},
      {"an IN list is no match",
       Op("AND",
          Server("b") +
              R"(<Condition operator="IN"><_ Columnn="Server" Values='str[]:["x"]'/></Condition>)"),
       "<EXISTS (SELECT 1 FROM s WHERE  ( ([Server] = N'b') ) )>", " ( ([Server] IN (N'x')) ) "},
      {"quotes stay escaped", Op("OR", Server("o'x")),
       "<EXISTS (SELECT 1 FROM s WHERE  ( ([Server] = N'o''x') ) )>", "(1=1)"},
  };
  RegisterConditions();
  for (const auto& c : cases) {
    VXNodePtr request = Request(c.conditions);
    EXPECT_EQ(Extract(request), c.extracted) << c.name;
    EXPECT_EQ(Where(request), c.remaining) << c.name;
  }
}

TEST(ConditionExtractorTest, WithoutConditionsNothingChanges) {
  RegisterConditions(false);  // %CONDITION% is not even asked
  VXNodePtr request =
      Parse(R"(<Query Top="u32:5"><_ _name="SortingRoot"><_ Column="When"/></_></Query>)");
  const std::string before = Text(request);
  EXPECT_EQ(Extract(request), "<(1=1)>");
  EXPECT_EQ(Text(request), before);
}

// Stands in for %CONDITION% to show the copy the extractor renders.
struct CopyRecorder : IVariableProcessor {
  static inline std::string seen;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                      std::u16string& text) override {
    seen = Text(request) + (variable ? " with a variable node" : "") + " over " + ToUtf8(text);
    text = u"recorded";
    return S_OK;
  }
};

TEST(ConditionExtractorTest, TheCopyKeepsAttributesAndMatchedConditionsOnly) {
  const std::vector<ProcessorTableRow> table = {
      {u"%CONDITION%",
       [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<CopyRecorder>()); }}};
  CProcessorsManager::Instance().Initialize(Parse(R"(<catalog><_ _name="%CONDITION%"/></catalog>)"),
                                            table);
  VXNodePtr request = Parse(
      R"(<Query Query_Template_Name="t" DateTimePart="hour">)"
      R"(<ConditionsRoot _name="Conditions"><Condition operator="AND">)" +
      Who("a") + Server("b") +
      R"(</Condition></ConditionsRoot>)"
      R"(<ConditionsRoot _name="HavingRoot">)" +
      Who("c") +
      R"(</ConditionsRoot>)"
      R"(<_ _name="SortingRoot"><_ Column="When"/></_><_ _name="Command" SQL_Command="x"/></Query>)");
  EXPECT_EQ(Extract(request), "<recorded>");
  EXPECT_EQ(
      CopyRecorder::seen,
      R"(<Query Query_Template_Name="t" DateTimePart="hour"><ConditionsRoot _name="Conditions">)"
      R"(<Condition operator="AND"><ConditionValues Columnn="Server" Value="b"/></Condition>)"
      R"x(</ConditionsRoot></Query> over EXISTS (SELECT 1 FROM s WHERE %CONDITION%))x");
  // The original lost the extracted node (rewritten by the conversion first)
  // and kept everything else.
  EXPECT_EQ(
      Text(request),
      R"(<Query Query_Template_Name="t" DateTimePart="hour"><ConditionsRoot _name="Conditions">)"
      R"(<Condition operator="AND"><ConditionValues Columnn="Who" Value="a"/></Condition></ConditionsRoot>)"
      R"(<ConditionsRoot _name="HavingRoot"><ConditionValues Columnn="Who" Value="c"/></ConditionsRoot>)"
      R"(<_ _name="SortingRoot"><_ Column="When"/></_><_ _name="Command" SQL_Command="x"/></Query>)");
}

TEST(ConditionExtractorTest, PerUseSettings) {
  RegisterConditions();
  const std::string variable =
      R"(<variable_processor Alias="%SERVER_FILTER%" ConditionsSeparator=";" ResultConditionTemplate="[%CONDITION%]">)"
      R"(<_ _name="NodeConversion"><_ _name="ConditionValues"><_ _name="NodeMatching" Columnn="Who"/></_></_>)"
      R"(</variable_processor>)";
  VXNodePtr request = Request(Op("AND", Who("a") + Server("b")));
  EXPECT_EQ(Extract(request, variable), "<[ ( ([Who] = N'a') ) ]>");
  EXPECT_EQ(Where(request), " ( ([Server] = N'b') ) ");

  // An alias of its own leaves the configured one in the text.
  request = Request(Op("AND", Who("a")));
  EXPECT_EQ(Extract(request, R"(<variable_processor Alias="%OTHER%"/>)"), "<%SERVER_FILTER%>");
  EXPECT_EQ(Where(request), " ( ([Who] = N'a') ) ");  // the configured conversion: no Server
}

TEST(ConditionExtractorTest, Failures) {
  const char* configs[] = {
      R"(<_ ResultConditionTemplate="t"><_ _name="NodeConversion"/></_>)",
      R"(<_ Alias="a"><_ _name="NodeConversion"/></_>)",
      R"(<_ Alias="a" ResultConditionTemplate="t"/>)",
      R"(<_ Alias="a" ResultConditionTemplate="t"><_ _name="NodeConversion"><_ _name="X"/></_></_>)",
  };
  for (const char* config : configs) {
    ConditionExtractor extractor;
    EXPECT_EQ(extractor.Initialize(Parse(config)), E_NOTFOUND) << config;
  }

  // %CONDITION% has no processor: the request fails, the text stays.
  RegisterConditions(false);
  VXNodePtr request = Request(Op("AND", Server("b")));
  EXPECT_EQ(Extract(request), "error 2147942487 <%SERVER_FILTER%>");
  // A bad extracted condition fails through %CONDITION%.
  RegisterConditions();
  request = Request(Op("AND", R"(<ConditionValues Columnn="Server"/>)"));
  EXPECT_EQ(Extract(request), "error 2147943568 <%SERVER_FILTER%>");
}

}  // namespace
}  // namespace QueriesProcessing
