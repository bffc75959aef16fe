#include <gtest/gtest.h>

#include "Common/FormatString.h"
#include "QueriesProcessing/Scriptwright/Rights/ClassificationProcessor.h"
#include "tests/QueriesProcessing/Shaping/ProcessorRunner.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

// A filter statement short enough to read in a table: "{NOT DS.e 5}".
constexpr char kConfig[] = R"x(<_ ExcludeColumnBracket='str[]:["Raw"]'
    FilterQuery="{%CL_NOT% %CL_DS%%CL_EXT% %CL_MASK%}" DefaultDatasource="DS" DefaultExt=".e"
    CorrectDBQueries='str[]:["fin"]'>
  <query_modificator QueryName="t" Command="mod" Datasource="MDS" Ext=".m" Alias="a"/>
  <query_modificator QueryName="t" Command="mod" Datasource="second" Ext=".s" Alias="b"/>
  <other QueryName="t" Command="main" Datasource="X" Ext="X" Alias="x"/>
</_>)x";

// The text `text` after the processor ran with `config` over `request`, or
// "error 0x...: <description>" with the text, which must be unchanged then.
std::string Classify(const char* config, const std::string& request, const std::u16string& text) {
  CClassificationProcessor processor;
  if (Failed(processor.Initialize(Parse(config)))) return "load error";
  VXNodePtr node = Parse(request);
  std::u16string result = text;
  const HRESULT status = processor.ProcessNode(node, VXNodePtr(), result);
  if (Succeeded(status)) return ToUtf8(result);
  const auto info = GetErrorInfo();
  return ToUtf8(FormatString(u"error 0x%08X: ", static_cast<uint32_t>(status))) +
         (info ? ToUtf8(info->description) : "") + (result == text ? "" : " (text changed)");
}

std::string Request(const std::string& command, const std::string& conditions) {
  return R"x(<Query Query_Template_Name="t")x" + command +
         "><ConditionsRoot _name=\"Conditions\">" + conditions + "</ConditionsRoot></Query>";
}

std::string Classes(const std::string& comparator, const std::string& value) {
  return R"x(<ConditionValues Columnn="Classes")x" +
         (comparator.empty() ? "" : " Comparator=\"" + comparator + "\"") + " Value=\"" + value +
         "\"/>";
}

std::string Operator(const std::string& op, const std::string& children) {
  return "<Condition operator=\"" + op + "\">" + children + "</Condition>";
}

constexpr char kAnn[] = R"x(<ConditionValues Columnn="Who" Value="ann"/>)x";
constexpr char kMain[] = R"x( CurrentCommand="main")x";

TEST(ClassificationProcessorTest, WalksClassesIntoFilterStatements) {
  const std::string max = "18446744073709551615";
  const struct {
    const char* what;
    std::string command;  // attributes of the request
    std::string conditions;
    std::string expected;
  } cases[] = {
      {"a comparison alone, mask 0 included", kMain, Classes("=", "0"), "{ DS.e 0}"},
      {"any comparator but = negates", kMain, Classes(">", "5") + Classes("", "u64:6"),
       "{NOT DS.e 5}{ DS.e 6}"},
      {"all-ones", kMain, Classes("=", max) + Classes("<>", max) + Classes(">", max),
       " (2=1)  (1=1)  (2=1) "},
      {"AND folds = and <> after the other children", kMain,
       Operator("AND", Classes("=", "1") + kAnn + Classes("<>", "8") + Classes("=", "4") +
                           Classes("<>", "16")),
       " ( ([Who] = N'ann')  AND { DS.e 5} AND {NOT DS.e 24}) "},
      {"OR folds the same way", kMain, Operator("OR", Classes("=", "1") + Classes("=", "2")),
       " ({ DS.e 3}) "},
      {"a zero mask writes no filter", kMain, Operator("AND", Classes("=", "0")), " (1=1) "},
      {"an unknown comparator drops the term", kMain,
       Operator("AND", Classes(">", "1") + Classes("<", "2")), " (1=1) "},
      {"all-ones under AND is not folded", kMain,
       Operator("AND", Classes("<>", max) + Classes("=", "2")), " ( (1=1)  AND { DS.e 2}) "},
      {"a child of unknown type still counts", kMain, Operator("AND", "<Other/>"), " () "},
      {"IN ORs the values", kMain,
       Operator("IN", R"x(<L Columnn="Classes" Values='u64[]:[1,2,8]'/>)x"), "{ DS.e 11}"},
      {"NOT IN negates", kMain,
       Operator("NOT IN", R"x(<L Columnn="Classes" Values='str[]:["3"]'/>)x"), "{NOT DS.e 3}"},
      {"IN with all-ones first", kMain,
       Operator("IN", "<L Columnn=\"Classes\" Values='u64[]:[" + max + ",1]'/>"),
       "{ DS.e " + max + "}"},
      {"IN with all-ones later ORs into all-ones", kMain,
       Operator("IN", "<L Columnn=\"Classes\" Values='u64[]:[0," + max + "]'/>"),
       "{ DS.e " + max + "}"},
      {"IN of zero writes the filter", kMain,
       Operator("IN", R"x(<L Columnn="Classes" Values='u64[]:[0]'/>)x"), "{ DS.e 0}"},
      {"IN of nothing", kMain, Operator("IN", R"x(<L Columnn="Classes" Values='u64[]:[]'/>)x"), ""},
      {"IN on another column", kMain,
       Operator("IN", R"x(<L Columnn="Raw" Values='str[]:["a"]'/>)x"), " ([Raw] IN (N'a')) "},
      {"IN without a list", kMain, Operator("IN", ""), "(1=1)"},
      {"NOT", kMain, Operator("NOT", Classes("=", "2")), " ( NOT{ DS.e 2} ) "},
      {"time values know no classes", kMain,
       R"x(<ConditionTimeValues Columnn="Classes" Value="5"/>)x", " ([Classes] = N'5') "},
      {"the first modificator of the command", R"x( CurrentCommand="mod")x",
       Operator("AND",
                kAnn + Classes("=", "1") + R"x(<ConditionValues Columnn="Raw" Value="r"/>)x"),
       " ( ([a].[Who] = N'ann')  AND  (Raw = N'r')  AND { MDS.m 1}) "},
      {"an empty root needs no command", "", "", " (1=1) "},
      {"no command", "", kAnn,
       "error 0x80070490: Element not found: attribute 'CurrentCommand' is missing on node Query"},
      {"a value that is no number", kMain, Classes("=", "-1"),
       "error 0x8007000D: The data is invalid: attribute 'Value' on node ConditionValues has no "
       "value "
       "of the type asked for"},
      {"a folded term needs its comparator", kMain, Operator("OR", Classes("", "1")),
       "error 0x80070490: Element not found: attribute 'Comparator' is missing on node "
       "ConditionValues"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(Classify(kConfig, Request(c.command, c.conditions), u"%CONDITION%"), c.expected);
  }
}

TEST(ClassificationProcessorTest, AliasesHoldOnlyForTheWalk) {
  CClassificationProcessor processor;
  ASSERT_EQ(processor.Initialize(Parse(kConfig)), S_OK);
  VXNodePtr request =
      Parse(Request(R"x( CurrentCommand="mod")x",
                    R"x(<ConditionValues Columnn="Who" AliasTable="r" Value="ann"/>)x"
                    R"x(<ConditionValues Columnn="Raw" AliasTable="r" Value="x"/>)x"));
  std::u16string text = u"%CONDITION%";
  ASSERT_EQ(processor.ProcessNode(request, VXNodePtr(), text), S_OK);
  EXPECT_EQ(ToUtf8(text), " ([a].[Who] = N'ann')  ([r].Raw = N'x') ");
  const VXNodePtr root = request.GetChild(u"Conditions");
  EXPECT_FALSE(root.ChildAt(0).HasAttribute(u"AliasTable"));
  EXPECT_EQ(root.ChildAt(1).GetString(u"AliasTable"), u"r");
}

// The last step, over the templates of CorrectDBQueries.
constexpr char kFinalizeConfig[] = R"x(<_ ExcludeColumnBracket='str[]:[]'
    FilterQuery="r.[Id] %CL_NOT% IN (SELECT [Id] FROM [dbo].[Cl%CL_EXT%] JOIN %CL_DS%.[dbo].[M] ON [M] &amp; %CL_MASK% &lt;&gt; 0)"
    DefaultDatasource="CL_DS" DefaultExt="" CorrectDBQueries='str[]:["fin"]'/>)x";

TEST(ClassificationProcessorTest, FinalizeNamesTheEnclosingDatabase) {
  const struct {
    const char* what;
    std::string template_;
    std::string conditions;
    std::u16string text;
    std::string expected;
  } cases[] = {
      {"a second filter takes the first one's FROM [ for the enclosing one", "fin",
       Operator("AND", Classes("=", "1") + Classes("<>", "2")),
       u"FROM [S].[A].[dbo].[V] AS r WHERE %CONDITION%",
       "FROM [S].[A].[dbo].[V] AS r WHERE  (r.[Id]  IN (SELECT [Id] FROM [dbo].[Cl] JOIN "
       "[S].[A].[dbo].[M] ON [M] & 1 <> 0) AND r.[Id] NOT IN (SELECT [Id] FROM [dbo].[Cl] JOIN "
       "[dbo].[Cl] JOIN [S].[dbo].[M] ON [M] & 2 <> 0)) "},
      {"each statement its own database", "fin", "",
       u"FROM [S].[A].[dbo].[V] WHERE (SELECT 1 FROM [t] JOIN CL_DS.[x]);\n"
       u"FROM [T].[B].[dbo].[V] WHERE (SELECT 1 FROM [t] JOIN CL_DS.[x])",
       "FROM [S].[A].[dbo].[V] WHERE (SELECT 1 FROM [t] JOIN [S].[A].[x]);\n"
       "FROM [T].[B].[dbo].[V] WHERE (SELECT 1 FROM [t] JOIN [T].[B].[x])"},
      {"another template keeps the name", "t", Classes("=", "5"),
       u"FROM [S].[A].[dbo].[V] AS r WHERE %CONDITION%",
       "FROM [S].[A].[dbo].[V] AS r WHERE r.[Id]  IN (SELECT [Id] FROM [dbo].[Cl] JOIN "
       "CL_DS.[dbo].[M] "
       "ON [M] & 5 <> 0)"},
      {"no enclosing FROM [", "fin", Classes("=", "5"), u"FROM S.A.dbo.V AS r WHERE %CONDITION%",
       "error 0x80070057: The parameter is incorrect: Couldn't find db name"},
      {"FROM [ at the start", "fin", "", u"FROM [t] JOIN CL_DS",
       "error 0x80070057: The parameter is incorrect: Couldn't find db name"},
      {"one dot: the name runs to the next dot", "fin", Classes("=", "5"),
       u"FROM [S].[A] AS r WHERE %CONDITION%",
       "FROM [S].[A] AS r WHERE r.[Id]  IN (SELECT [Id] FROM [dbo].[Cl] JOIN [S].[A] AS r WHERE "
       "r.[dbo].[M] ON [M] & 5 <> 0)"},
      {"a name that holds the occurrence further on", "fin", "",
       u"FROM [S] WHERE x IN (SELECT y FROM [m] JOIN CL_DS.[dbo].[M])",
       "error 0x80070057: The parameter is incorrect: the text grew from 60 to more than 524288 "
       "characters (replacing 'CL_DS')"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string request = "<Query Query_Template_Name=\"" + c.template_ +
                                "\" CurrentCommand=\"main\"><ConditionsRoot _name=\"Conditions\">" +
                                c.conditions + "</ConditionsRoot></Query>";
    EXPECT_EQ(Classify(kFinalizeConfig, request, c.text), c.expected);
  }
}

}  // namespace
}  // namespace QueriesProcessing
