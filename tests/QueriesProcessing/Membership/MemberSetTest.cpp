#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Common/Text.h"
#include "QueriesProcessing/Membership/MemberSet.h"

namespace QueriesProcessing {
namespace {

std::vector<std::u16string> Walk(const MemberSet& set) { return {set.begin(), set.end()}; }

TEST(MemberSetTest, HoldsEachNameOnceInTheOrderFirstAdded) {
  const std::u16string nul(u"a\0b", 3);
  const std::u16string huge(100'000, u'h');  // longer than a block
  MemberSet set{u"b", u"a"};
  struct Step {
    std::u16string name;
    bool added;
  } steps[] = {{u"b", false}, {u"c", true}, {nul, true}, {u"a", false}, {u"", true},
               {u"", false},  {huge, true}, {u"B", true}, {std::u16string(u"a\0c", 3), true}};
  for (const Step& step : steps) EXPECT_EQ(set.insert(step.name), step.added);
  // Enough small names to fill several blocks: earlier names stay put.
  for (int i = 0; i < 50'000; ++i) set.insert(u"member" + ToTextUnsigned(i));
  const std::vector<std::u16string> expected = {u"b", u"a", u"c", nul, u"", huge, u"B",
                                                std::u16string(u"a\0c", 3)};
  const std::vector<std::u16string> walked = Walk(set);
  ASSERT_EQ(walked.size(), expected.size() + 50'000);
  EXPECT_EQ(std::vector<std::u16string>(walked.begin(), walked.begin() + 8), expected);
  EXPECT_TRUE(set.contains(huge));
  EXPECT_FALSE(set.contains(u"d"));

  // Copies and moves keep their own names; equality ignores the order.
  MemberSet copy = set;
  MemberSet moved = std::move(copy);
  EXPECT_EQ(moved, set);
  EXPECT_TRUE(copy.empty());
  copy.insert(u"fresh");  // a moved-from set is usable
  EXPECT_EQ(Walk(copy), std::vector<std::u16string>{u"fresh"});
  EXPECT_EQ(Walk(moved), walked);
  EXPECT_EQ((MemberSet{u"x", u"y"}), (MemberSet{u"y", u"x"}));
  EXPECT_NE((MemberSet{u"x", u"y"}), (MemberSet{u"x", u"z"}));
  EXPECT_EQ(MemberSet{u"abc"}.textSize(), 3u);
}

}  // namespace
}  // namespace QueriesProcessing
