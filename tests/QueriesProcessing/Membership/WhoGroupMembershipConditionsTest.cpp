#include <gtest/gtest.h>

#include <algorithm>

#include "QueriesProcessing/Scriptwright/Membership/MembershipConditionsProcessor.h"
#include "tests/QueriesProcessing/Joins/JoinsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::StatusOf;
using Names = std::vector<std::u16string>;

TEST(MembershipSubtractionTest, MergeWalkRemovesOnlyWhatItMeetsInStep) {
  struct Case {
    Names inclusive, exclusive, kept;
  } cases[] = {
      {{}, {}, {}}, {{u"a"}, {}, {u"a"}}, {{}, {u"a"}, {}}, {{u"a"}, {u"a"}, {}},
      {{u"a"}, {u"b"}, {u"a"}}, {{u"b"}, {u"a"}, {u"b"}},
      {{u"a", u"b", u"c"}, {u"a", u"c"}, {u"b"}},
      // Out of order: the walks pass each other and common names survive.
      {{u"b", u"a"}, {u"a"}, {u"b", u"a"}}, {{u"c", u"b"}, {u"b", u"c"}, {u"b"}},
      // Case-sensitive, by code unit: "B" < "a".
      {{u"A"}, {u"a"}, {u"A"}}, {{u"a", u"B"}, {u"B"}, {u"a", u"B"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SubtractInStep(c.inclusive, c.exclusive), c.kept)
        << c.inclusive.size() << " - " << c.exclusive.size();
  }
}

std::string Group(const std::string& comparator, const std::string& values,
                  const std::string& column = R"( Columnn="Who")") {
  return "<ConditionGroupMembership" + column + R"( Comparator=")" + comparator +
         R"(" Values='str[]:[)" + values + R"(]'/>)";
}

VXNodePtr Request(const std::string& conditions) {
  return Parse(R"(<Query><ConditionsRoot _name="Conditions">)" + conditions +
               "</ConditionsRoot></Query>");
}

Names Sorted(const GroupNames& names) {
  Names sorted(names.begin(), names.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

TEST(MembershipConditionsProcessorTest, CollectsTheGroupsOfTheConditions) {
  struct Case {
    std::string conditions;
    Names inclusive, exclusive;
  } cases[] = {
      {"", {}, {}},
      {Group("InGroup", R"("g1","g2")"), {u"g1", u"g2"}, {}},
      {R"(<Condition operator="AND">)" + Group("InGroup", R"("g1")") +
           Group("NotInGroup", R"("g2")") +
           R"(<ConditionValues Columnn="Action" Value="x"/></Condition>)",
       {u"g1"},
       {u"g2"}},
      // The same group on both sides is only excluded.
      {R"(<Condition operator="OR">)" + Group("InGroup", R"("g")") + Group("NotInGroup", R"("g")") +
           "</Condition>",
       {},
       {u"g"}},
      // Nested conditions are descended; other containers are not.
      {R"(<Condition operator="NOT"><Condition operator="AND">)" + Group("InGroup", R"("deep")") +
           "</Condition></Condition><Other>" + Group("InGroup", R"("hidden")") + "</Other>",
       {u"deep"},
       {}},
      // A group condition's children are not visited.
      {R"(<ConditionGroupMembership Columnn="Who" Comparator="InGroup" Values='str[]:["g"]'>)" +
           Group("Bad", R"("x")") + "</ConditionGroupMembership>",
       {u"g"},
       {}},
      // Exact names: case and repetition.
      {Group("InGroup", R"("G","g","g")"), {u"G", u"g"}, {}},
      {Group("InGroup", ""), {}, {}},
  };
  const CMembershipConditionsProcessor processor(u"Who");
  for (const auto& c : cases) {
    const MembershipGroups groups = processor.ProcessMembershipConditions(Request(c.conditions));
    EXPECT_EQ(Sorted(groups.inclusive), c.inclusive) << c.conditions;
    EXPECT_EQ(Sorted(groups.exclusive), c.exclusive) << c.conditions;
  }
}

TEST(MembershipConditionsProcessorTest, Failures) {
  struct Case {
    std::string conditions;
    HRESULT status;
  } cases[] = {
      {Group("InGroup", R"("g")", R"( Columnn="Whom")"), E_BAD_GROUP_CONDITION},
      {Group("InGroup", R"("g")", ""), E_BAD_GROUP_CONDITION},
      {Group("Member", R"("g")"), E_BAD_GROUP_CONDITION},
      {Group("ingroup", R"("g")"), E_BAD_GROUP_CONDITION},
      {R"(<ConditionGroupMembership Columnn="Who" Values='str[]:["g"]'/>)", E_NOTFOUND},
      // Values is read before the column is judged.
      {R"(<ConditionGroupMembership Columnn="Whom" Comparator="InGroup"/>)", E_NOTFOUND},
  };
  const CMembershipConditionsProcessor processor(u"Who");
  for (const auto& c : cases) {
    EXPECT_EQ(StatusOf([&] { processor.ProcessMembershipConditions(Request(c.conditions)); }),
              c.status)
        << c.conditions;
  }
  EXPECT_EQ(StatusOf([&] { processor.ProcessMembershipConditions(Parse("<Query/>")); }),
            E_NOTFOUND);
}

}  // namespace
}  // namespace QueriesProcessing
