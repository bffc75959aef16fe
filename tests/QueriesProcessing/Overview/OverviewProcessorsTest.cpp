#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../Joins/JoinsTestSupport.h"
#include "Common/FormatString.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewContersDictionaryFilterJoin.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersDbNameProcessor.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::Text;
using Testing::Where;

// Stands in for %DB_NAME%: writes what it was handed, or nothing for a text
// "none" (no database left).
class FanOutStandIn : public IVariableProcessor {
 public:
  HRESULT ProcessNode(VXNodePtr&, const VXNodePtr& variable, std::u16string& text) override {
    if (text == u"none") {
      text.clear();
    } else {
      text += u"|" + variable.GetString(u"DbNameSeparator") + u"|" +
              variable.GetString(u"ExplicitView", u"-");
    }
    return S_OK;
  }
};

const std::vector<ProcessorTableRow>& TestTable() {
  static const std::vector<ProcessorTableRow> table = {
      {u"%FAN_OUT%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<FanOutStandIn>()); }},
      {u"%CONDITION%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<CConditionsProcessor>()); }},
  };
  return table;
}

void RegisterTestProcessors() {
  CProcessorsManager::Instance().Initialize(
      Parse(R"(<catalog><_ _name="%FAN_OUT%"/><_ _name="%CONDITION%" ExcludeColumnBracket='str[]:[]'/></catalog>)"),
      TestTable());
}

// Loads a processor and runs it over `text`; the result, or "load error
// 0x..." / "error 0x...: " followed by the text as the failed call left it.
template <typename Processor>
std::string Process(const std::string& config, VXNodePtr request, const std::string& text,
                const std::string& variable = "") {
  Processor processor;
  const HRESULT loaded = processor.Initialize(Parse(config));
  if (Failed(loaded)) return ToUtf8(FormatString(u"load error 0x%08X", static_cast<uint32_t>(loaded)));
  std::u16string working = ToUtf16(text);
  const HRESULT status = processor.ProcessNode(request, Parse(variable), working);
  if (Failed(status))
    return ToUtf8(FormatString(u"error 0x%08X: ", static_cast<uint32_t>(status)) + working);
  return ToUtf8(working);
}

// Files (1, also 5 and 6), mail (2); 6 is claimed by mail as well, too late.
constexpr const char* kDbNameConfig =
    R"(<_ matching_column="ProductID" dependency_processor="%FAN_OUT%" dbname_separator=";">)"
    R"(<_ _name="DataSourceMapping">)"
    R"(<DataSource MandatoryProductId="i32:1" AdditionalProductIds='i32[]:[5,6]'/>)"
    R"(<_ MandatoryProductId="i32:2" AdditionalProductIds='i32[]:[6]'/>)"
    R"(</_></_>)";

std::string Product(const std::string& attributes) {
  return R"(<ConditionValues Columnn="ProductID" )" + attributes + "/>";
}

std::string Lists(const VXNodePtr& request) {
  auto list = [&](std::u16string_view name) {
    const auto type = request.GetAttributeType(name);
    if (!type) return std::string("-");
    std::string text;
    for (const auto& id : request.GetStringList(name, true)) text += (text.empty() ? "" : ",") + ToUtf8(id);
    return "[" + text + "]";
  };
  return "A=" + list(u"Auditing_systems") + " S=" + list(u"Suppressed_Auditing_systems");
}

TEST(OverviewCountersDbNameProcessorTest, ProductConditionsBecomeTheRequestsProductLists) {
  RegisterTestProcessors();
  struct Case {
    const char* name;
    std::string attributes, conditions, lists;
  } cases[] = {
      {"no Conditions: lists stay", R"(Auditing_systems='i32[]:[4]')", "", "A=[4] S=-"},
      {"equal", "", Product(R"(Comparator="=" Value="i32:1")"), "A=[1] S=-"},
      {"no comparator counts as equal", "", Product(R"(Value="2")"), "A=[2] S=-"},
      {"not equal", "", Product(R"(Comparator="&lt;&gt;" Value="i32:2")"), "A=- S=[2]"},
      {"additional ids map to their mandatory one, the first mapping wins", "",
       Product(R"(Value="i32:5")") + Product(R"(Value="i32:6")"), "A=[1] S=-"},
      {"IN list", "",
       R"(<Condition operator="IN">)" + Product(R"(Values='i32[]:[2,5]')") + "</Condition>",
       "A=[1,2] S=-"},
      {"NOT IN list", "",
       R"(<Condition operator="NOT IN">)" + Product(R"(Values='i32[]:[2]')") + "</Condition>",
       "A=- S=[2]"},
      {"a list under no IN", "", Product(R"(Values='i32[]:[1]')"), "A=- S=[1]"},
      {"merged with the request's lists", R"(Auditing_systems='i32[]:[9]' Suppressed_Auditing_systems='i32[]:[8]')",
       R"(<Condition operator="AND">)" + Product(R"(Value="i32:1")") +
           Product(R"(Comparator="&lt;&gt;" Value="i32:2")") + "</Condition>",
       "A=[1,9] S=[2,8]"},
      {"other columns and types are not read", "",
       R"(<ConditionValues Columnn="Who" Value="9"/><ConditionTimeValues Columnn="ProductID" Value="9"/>)",
       "A=- S=-"},
  };
  for (const auto& c : cases) {
    VXNodePtr request = Parse("<Query " + c.attributes + ">" +
                              (c.conditions.empty() ? ""
                                                    : R"(<ConditionsRoot _name="Conditions">)" +
                                                          c.conditions + "</ConditionsRoot>") +
                              "</Query>");
    EXPECT_EQ(Process<COverviewCountersDbNameProcessor>(kDbNameConfig, request, "T"), "T|;|-") << c.name;
    EXPECT_EQ(Lists(request), c.lists) << c.name;
  }
}

TEST(OverviewCountersDbNameProcessorTest, FansOutThroughTheDependency) {
  RegisterTestProcessors();
  const std::string viewConfig = std::string(kDbNameConfig).replace(3, 0, R"(explicit_vew="vw_Day" )");
  struct Case {
    const char* name;
    std::string config, text, variable, expected;
  } cases[] = {
      {"configured separator", kDbNameConfig, "T", "", "T|;|-"},
      {"per-use separator, explicit view", viewConfig, "T", R"(<_ DbNameSeparator=" UNION ALL "/>)",
       "T| UNION ALL |vw_Day"},
      {"no database left: default template", kDbNameConfig, "none",
       R"(<_ default_template="SELECT 0"/>)", "SELECT 0"},
      {"no database left, no default", kDbNameConfig, "none", "<_/>", ""},
      {"a default only stands in for nothing", kDbNameConfig, "T", R"(<_ default_template="SELECT 0"/>)",
       "T|;|-"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Process<COverviewCountersDbNameProcessor>(c.config, Parse("<Query/>"), c.text, c.variable),
              c.expected)
        << c.name;
  }
}

TEST(OverviewCountersDbNameProcessorTest, Failures) {
  RegisterTestProcessors();
  const std::string noColumn = R"(<Query><ConditionsRoot _name="Conditions">)"
                               R"(<ConditionValues Value="1"/></ConditionsRoot></Query>)";
  struct Case {
    const char* name;
    std::string config, request, expected;
  } cases[] = {
      {"matching_column missing", R"(<_ dependency_processor="x" dbname_separator=""><_ _name="DataSourceMapping"/></_>)",
       "<Query/>", "load error 0x80070490"},
      {"DataSourceMapping missing", R"(<_ matching_column="P" dependency_processor="x" dbname_separator=""/>)",
       "<Query/>", "load error 0x80070490"},
      {"MandatoryProductId missing",
       R"(<_ matching_column="P" dependency_processor="x" dbname_separator=""><_ _name="DataSourceMapping"><_/></_></_>)",
       "<Query/>", "load error 0x80070490"},
      {"unknown product", kDbNameConfig,
       "<Query>" + std::string(R"(<ConditionsRoot _name="Conditions">)") + Product(R"(Value="7")") +
           "</ConditionsRoot></Query>",
       "error 0x80070490: T"},
      {"Columnn missing", kDbNameConfig, noColumn, "error 0x80070490: T"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Process<COverviewCountersDbNameProcessor>(c.config, Parse(c.request), "T"), c.expected)
        << c.name;
  }
  // The dependency has no processor.
  CProcessorsManager::Instance().Initialize(Parse("<catalog/>"), TestTable());
  EXPECT_EQ(Process<COverviewCountersDbNameProcessor>(kDbNameConfig, Parse("<Query/>"), "T"),
            "error 0x80070057: T");
}

// The dictionary filter join, with the real conditions processor behind
// ConditionVariable.
constexpr const char* kJoinConfig =
    R"(<_ JoinAlias="%J%" VariablesAlias="%V%" JoinTemplate="JOIN @F%index%")"
    R"( VariablesTemplate="@F%index%: %CONDITION%" ConditionVariable="%CONDITION%"/>)";

std::string Dictionary(const std::string& index, const std::string& value,
                       const std::string& key = "Site") {
  return R"(<ConditionValues _name="ConditionValues" Columnn="Value" Value=")" + value +
         R"(" AliasColumn=")" + key + R"(" JoinIndex="u64:)" + index + R"("/>)";
}

TEST(OverviewContersDictionaryFilterJoinTest, MovesDictionaryConditionsIntoTableVariables) {
  RegisterTestProcessors();
  VXNodePtr request = Parse(
      R"(<Query><ConditionsRoot _name="Conditions"><Condition operator="AND">)"
      R"(<ConditionValues Columnn="Who" Value="ann"/>)" +
      Dictionary("2", "Print", "Role") + Dictionary("1", "Berlin") +
      R"(<Condition operator="NOT IN"><ConditionValues _name="ConditionValues" Columnn="Value")"
      R"( Values='str[]:["Lyon","Rome"]' AliasColumn="Site" JoinIndex="1"/></Condition>)" +
      Dictionary("3", "Paris") +
      // Typed but not named ConditionValues: not a dictionary condition.
      R"(<ConditionValues Columnn="Value" Value="x" JoinIndex="u64:4"/>)"
      R"(</Condition></ConditionsRoot>)"
      R"(<_ _name="GroupByRoot"><_ _name="GroupByRootEntry" Column="Value" JoinIndex="u64:3"/></_>)"
      R"(</Query>)");
  EXPECT_EQ(Process<COverviewContersDictionaryFilterJoin>(kJoinConfig, request, "%V%\n--\n%J%"),
            "@F1:  ( ([Key] = N'Site')  AND  ([Value] = N'Berlin')  AND  ([Value] NOT IN (N'Lyon',N'Rome')) ) \n"
            "@F2:  ( ([Key] = N'Role')  AND  ([Value] = N'Print') ) \n"
            "--\n"
            "JOIN @F2\nJOIN @F1\nJOIN @F1");
  // The grouped index stays, and so does the condition that is no dictionary's.
  EXPECT_EQ(Where(request), " ( ([Who] = N'ann')  AND  ([Value] = N'Paris')  AND  ([Value] = N'x') ) ");
}

TEST(OverviewContersDictionaryFilterJoinTest, EdgesAndFailures) {
  RegisterTestProcessors();
  auto request = [](const std::string& conditions) {
    return Parse(R"(<Query><ConditionsRoot _name="Conditions"><Condition operator="AND">)" +
                 conditions + "</Condition></ConditionsRoot></Query>");
  };
  struct Case {
    const char* name;
    std::string config, conditions, expected;
  } cases[] = {
      {"nothing to join", kJoinConfig, R"(<ConditionValues Columnn="Who" Value="ann"/>)", "<>\n<>"},
      {"the key keeps its type", kJoinConfig,
       R"(<ConditionValues _name="ConditionValues" Columnn="Value" Value="1" AliasColumn="i32:7" JoinIndex="0"/>)",
       "<@F0:  ( ([Key] = N'7')  AND  ([Value] = N'1') ) >\n<JOIN @F0>"},
      {"AliasColumn missing", kJoinConfig,
       R"(<ConditionValues _name="ConditionValues" Columnn="Value" Value="x" JoinIndex="1"/>)",
       "error 0x80070490: <%V%>\n<%J%>"},
      {"JoinIndex negative", kJoinConfig, Dictionary("1", "x").replace(Dictionary("1", "x").find("u64:1"), 5, "i32:-1"),
       "error 0x8007000D: <%V%>\n<%J%>"},
      {"operator of the parent missing", kJoinConfig,
       "<Condition>" + Dictionary("1", "x") + "</Condition>", "error 0x80070490: <%V%>\n<%J%>"},
      {"ConditionVariable without processor",
       std::string(kJoinConfig).replace(std::string(kJoinConfig).find("\"%CONDITION%\""), 13, "\"%NONE%\""),
       Dictionary("1", "x"), "error 0x80070057: <%V%>\n<%J%>"},
      {"VariablesTemplate missing", R"(<_ JoinAlias="a" VariablesAlias="b" JoinTemplate="c" ConditionVariable="d"/>)",
       "", "load error 0x80070490"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Process<COverviewContersDictionaryFilterJoin>(c.config, request(c.conditions), "<%V%>\n<%J%>"),
              c.expected)
        << c.name;
  }
}

constexpr const char* kCountersConfig =
    R"x(<_ AliasOrderBy="%O%" AliasClauseGroupBy="%G%" AliasSelectFields="%S%" AliasTop="%T%")x"
    R"x( ValueOrderBy=" ORDER BY %SORTING%" ValueGroupBy=" GROUP BY %LIST%" ValueTop="TOP (n) ")x"
    R"x( ValueSelectFieldsGroup="%FIELDS%, COUNT(*)" ValueSelectFields="COUNT(*)" TemplateAliasTable="d%index%"/>)x";

TEST(OverviewCountersProcessorTest, ClausesFollowGroupingSortingAndTop) {
  struct Case {
    const char* name;
    std::string request, text;
  } cases[] = {
      {"plain", "<Query/>", "SELECT COUNT(*) FROM c"},
      {"grouped", R"(<Query><_ _name="GroupByRoot"/></Query>)", "SELECT %FIELDS%, COUNT(*) FROM c GROUP BY %LIST%"},
      {"sorted and limited", R"(<Query Top="u32:5"><_ _name="SortingRoot"/></Query>)",
       "SELECT TOP (n) COUNT(*) FROM c ORDER BY %SORTING%"},
      {"all", R"(<Query Top="u32:5"><_ _name="GroupByRoot"/><_ _name="SortingRoot"/></Query>)",
       "SELECT TOP (n) %FIELDS%, COUNT(*) FROM c GROUP BY %LIST% ORDER BY %SORTING%"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Process<COverviewCountersProcessor>(kCountersConfig, Parse(c.request), "SELECT %T%%S% FROM c%G%%O%"),
              c.text)
        << c.name;
  }
  EXPECT_EQ(Process<COverviewCountersProcessor>(R"(<_ AliasOrderBy="%O%"/>)", Parse("<Query/>"), ""),
            "load error 0x80070490");
}

TEST(OverviewCountersProcessorTest, JoinedEntriesGetTheirTableAlias) {
  VXNodePtr request = Parse(
      R"(<Query><_ _name="GroupByRoot"><_ Column="Who" AliasTable="c"/>)"
      R"(<_ Column="Value" AliasTable="c" JoinIndex="u64:2"/></_>)"
      R"(<_ _name="SortingRoot"><_ Column="Value" JoinIndex="7" Order="i32:2"/><_ Column="Who"/></_></Query>)");
  EXPECT_EQ(Process<COverviewCountersProcessor>(kCountersConfig, request, ""), "");
  EXPECT_EQ(Text(request),
            R"(<Query><_ _name="GroupByRoot"><_ Column="Who" AliasTable="c"/>)"
            R"(<_ Column="Value" AliasTable="d2" JoinIndex="u64:2"/></_>)"
            R"(<_ _name="SortingRoot"><_ Column="Value" JoinIndex="7" Order="i32:2" AliasTable="d7"/>)"
            R"(<_ Column="Who"/></_></Query>)");
  VXNodePtr bad = Parse(R"(<Query><_ _name="SortingRoot"><_ Column="Value" JoinIndex="-1"/></_></Query>)");
  EXPECT_EQ(Process<COverviewCountersProcessor>(kCountersConfig, bad, "x"), "error 0x8007000D: x");
}

}  // namespace
}  // namespace QueriesProcessing
