#include <gtest/gtest.h>

#include "QueriesProcessing/Scriptwright/Membership/WhoGroupConditionProcessor.h"
#include "tests/QueriesProcessing/Joins/JoinsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::Where;

constexpr char kFilters[] =
    R"(<Filters _name="InGroup" ColumnName="InMember" Comparator=" IS NOT NULL")"
    R"( MatchingComparator="InGroup" AttributeWithTableName="GroupMembershipWhoInGroupTable" AliasJoinTable="gi"/>)"
    R"(<Filters _name="NotInGroup" ColumnName="OutMember" Comparator=" IS NULL")"
    R"( MatchingComparator="NotInGroup" AttributeWithTableName="GroupMembershipWhoNotInGroupTable" AliasJoinTable="gx"/>)";

std::string Config(const std::string& filters = kFilters) {
  return R"(<_ ColumnNameAdditionalFilter="Who" AliasJoin="%WHO_GROUP_CONDITION_%TableName%%")"
         R"( ValueJoin="JOIN %TableName% AS %AliasJoinTable% ON %AliasJoinTable%.[%ColumnName%] = Who">)" +
         filters + R"(<Other _name="Skipped"/></_>)";
}

constexpr char kCommand[] =
    "FROM v\n%WHO_GROUP_CONDITION_InGroup%\n%WHO_GROUP_CONDITION_NotInGroup%\nWHERE %CONDITION%";
constexpr char kInJoin[] = "JOIN T_in AS gi ON gi.[InMember] = Who";
constexpr char kOutJoin[] = "JOIN T_out AS gx ON gx.[OutMember] = Who";

std::string Group(const std::string& comparator, const std::string& column = "Who") {
  return R"(<ConditionGroupMembership Columnn=")" + column + R"(" Comparator=")" + comparator +
         R"(" Values='str[]:["g"]'/>)";
}
constexpr char kAction[] = R"(<ConditionValues Columnn="Action" Value="x"/>)";

VXNodePtr Request(const std::string& conditions) {
  return Parse(
      R"(<Query GroupMembershipWhoInGroupTable="T_in" GroupMembershipWhoNotInGroupTable="T_out">)" +
      (conditions.empty()
           ? ""
           : R"(<ConditionsRoot _name="Conditions">)" + conditions + "</ConditionsRoot>") +
      "</Query>");
}

// The command text after the processor, or "error 0x..." and the text as the
// failed call left it.
std::string Process(CWhoGroupConditionProcessor& processor, VXNodePtr& request,
                    const std::string& text = kCommand) {
  std::u16string working = ToUtf16(text);
  const HRESULT status = processor.ProcessNode(request, VXNodePtr(), working);
  if (Failed(status))
    return "error " + std::to_string(static_cast<uint32_t>(status)) + " " + ToUtf8(working);
  return ToUtf8(working);
}

CWhoGroupConditionProcessor Loaded(const std::string& config = Config()) {
  CWhoGroupConditionProcessor processor;
  EXPECT_EQ(processor.Initialize(Parse(config)), S_OK);
  return processor;
}

std::string Joined(const std::string& in, const std::string& out) {
  return "FROM v\n" + in + "\n" + out + "\nWHERE %CONDITION%";
}

TEST(WhoGroupConditionProcessorTest, RewritesGroupConditionsAndJoinsTheirTables) {
  struct Case {
    std::string conditions, text, where;
  } cases[] = {
      // No conditions, AND of both kinds, a kind straight under the root and
      // the count command's joins: the who-group golden case.
      {R"(<Condition operator="OR">)" + Group("InGroup") + "</Condition>", Joined(kInJoin, ""),
       " ( ([InMember]  IS NOT NULL) ) "},
      {R"(<Condition operator="NOT">)" + Group("NotInGroup") + "</Condition>", Joined("", kOutJoin),
       " ( NOT ([OutMember]  IS NULL)  ) "},
      {R"(<Condition operator="AND"><Condition operator="OR">)" + Group("InGroup") + kAction +
           "</Condition></Condition>",
       Joined(kInJoin, ""), " ( ( ([InMember]  IS NOT NULL)  OR  ([Action] = N'x') ) ) "},
      // Below a node of another kind the walk does not go.
      {R"(<Other>)" + Group("InGroup") + "</Other>", Joined("", ""), ""},
  };
  for (const auto& c : cases) {
    CWhoGroupConditionProcessor processor = Loaded();
    VXNodePtr request = Request(c.conditions);
    EXPECT_EQ(Process(processor, request), c.text) << c.conditions;
    EXPECT_EQ(Where(request), c.where) << c.conditions;
  }
}

TEST(WhoGroupConditionProcessorTest, GroupConditionOnAnotherColumnStaysAndSetsNoJoin) {
  CWhoGroupConditionProcessor processor = Loaded();
  VXNodePtr request = Request(R"(<Condition operator="AND">)" + Group("InGroup", "Whom") +
                              Group("Nonsense", "Whom") + "</Condition>");
  EXPECT_EQ(Process(processor, request), Joined("", ""));
  const VXNodePtr condition = request.GetChild(u"Conditions").ChildAt(0);
  for (uint32_t i = 0; i < 2; ++i) {
    EXPECT_EQ(condition.ChildAt(i).GetType(), u"ConditionGroupMembership");
    EXPECT_TRUE(condition.ChildAt(i).HasAttribute(u"Values"));
  }
  EXPECT_FALSE(request.HasAttribute(u"%WHO_GROUP_CONDITION_InGroup%"));
}

TEST(WhoGroupConditionProcessorTest, FailuresOfTheRequest) {
  struct Case {
    std::string conditions;
    HRESULT status;
    std::string text;
  } cases[] = {
      // Comparators match exactly; other unknown ones and a missing table:
      // the who-group-failures golden case.
      {Group("ingroup"), E_INVALIDARG, "not supported group operation"},
      {R"(<ConditionGroupMembership Columnn="Who" Values='str[]:["g"]'/>)", E_NOTFOUND, ""},
      {R"(<ConditionGroupMembership Comparator="InGroup"/>)", E_NOTFOUND, ""},
      {R"(<Condition>)" + Group("InGroup") + "</Condition>", E_NOTFOUND, ""},
  };
  for (const auto& c : cases) {
    CWhoGroupConditionProcessor processor = Loaded();
    VXNodePtr request = Request(c.conditions);
    GetErrorInfo();
    EXPECT_EQ(Process(processor, request),
              "error " + std::to_string(static_cast<uint32_t>(c.status)) + " " + kCommand)
        << c.conditions;
    const auto info = GetErrorInfo();
    ASSERT_TRUE(info) << c.conditions;
    EXPECT_NE(info->description.find(ToUtf16(c.text)), std::u16string::npos)
        << ToUtf8(info->description);
  }
}

TEST(WhoGroupConditionProcessorTest, ConfigurationFailuresAndTheFirstOfEqualFilters) {
  const std::string filter =
      R"(<Filters _name="InGroup" ColumnName="C" Comparator=" IS NULL" MatchingComparator="%M%")"
      R"( AttributeWithTableName="GroupMembershipWhoInGroupTable" AliasJoinTable="a"/>)";
  auto with = [&](const std::string& matching) {
    std::string text = filter;
    text.replace(text.find("%M%"), 3, matching);
    return text;
  };
  struct Case {
    std::string config;
    HRESULT status;
  } cases[] = {
      {Config(with("ingroup")), E_INVALIDARG},
      {Config(with("")), E_INVALIDARG},
      {Config(
           R"(<Filters _name="InGroup" ColumnName="C" Comparator="x" MatchingComparator="InGroup"/>)"),
       E_NOTFOUND},
      {R"(<_ ColumnNameAdditionalFilter="Who" AliasJoin="a"/>)", E_NOTFOUND},
      {Config(""), S_OK},
  };
  for (const auto& c : cases) {
    CWhoGroupConditionProcessor processor;
    EXPECT_EQ(processor.Initialize(Parse(c.config)), c.status) << c.config;
  }

  // The second InGroup filter, with its other column and alias, is ignored.
  CWhoGroupConditionProcessor processor = Loaded(Config(
      std::string(kFilters) +
      R"(<Filters _name="Second" ColumnName="Other" Comparator=" IS NULL" MatchingComparator="InGroup")"
      R"( AttributeWithTableName="GroupMembershipWhoNotInGroupTable" AliasJoinTable="z"/>)"));
  VXNodePtr request = Request(Group("InGroup"));
  EXPECT_EQ(Process(processor, request, kCommand + std::string(" %WHO_GROUP_CONDITION_Second%")),
            Joined(kInJoin, "") + " %WHO_GROUP_CONDITION_Second%");
  EXPECT_EQ(Where(request), " ([InMember]  IS NOT NULL) ");
}

}  // namespace
}  // namespace QueriesProcessing
