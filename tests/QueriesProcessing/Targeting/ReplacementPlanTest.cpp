#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Targeting/ReplacementPlan.h"

namespace QueriesProcessing {
namespace {

using Views = std::vector<std::u16string_view>;

// The replacements themselves, one ReplaceAll after the other.
std::u16string InOrder(std::u16string text, const Views& tokens, const Views& values) {
  for (size_t i = 0; i < tokens.size(); ++i) ReplaceAll(text, tokens[i], values[i]);
  return text;
}

std::u16string ByPlan(std::u16string_view text, const Views& tokens, const Views& values) {
  const ReplacementPlan plan(text, tokens);
  std::u16string out = u"kept:";
  plan.Append(out, values);
  return out.substr(5);
}

TEST(ReplacementPlanTest, GivesWhatTheReplacementsInARowGive) {
  struct Case {
    std::u16string_view text;
    Views tokens;
    Views values;
    std::u16string_view expected;
    bool admits;
  };
  const Case cases[] = {
      {u"FROM [%DB%].[%VIEW%] -- %DB%", {u"%DB%", u"%VIEW%"}, {u"Audit", u"vw_All"},
       u"FROM [Audit].[vw_All] -- Audit", true},
      // A value holding its own token is not scanned again.
      {u"%X%", {u"%X%"}, {u"a%X%b"}, u"a%X%b", true},
      // Overlapping occurrences: the leftmost wins, for one token or two.
      {u"%A%A%", {u"%A%"}, {u"b"}, u"bA%", true},
      {u"ABC", {u"AB", u"BC"}, {u"x", u"y"}, u"xC", true},
      // An earlier value holding a later token; pieces meeting around an
      // empty value; a value that is the inside of a later token.
      {u"%A%", {u"%A%", u"%B%"}, {u"%B%", u"z"}, u"z", false},
      {u"%SCHEMA%DB%_NAME%", {u"%DB%", u"%SCHEMA_NAME%"}, {u"", u"S"}, u"S", false},
      {u"%X%D%X%", {u"%D%", u"%XDX%"}, {u"D", u"R"}, u"R", false},
      // An empty token replaces nothing; the same token twice: the first takes all.
      {u"%V%", {u"", u"%V%"}, {u"", u"v"}, u"v", true},
      {u"%A%%A%", {u"%A%", u"%A%"}, {u"1", u"2"}, u"11", true},
      // Units that share a byte with the token's first.
      {u"\u2525%A%\u0125%A%\u2500", {u"%A%"}, {u"a"}, u"\u2525a\u0125a\u2500", true},
  };
  const ReplacementPlan counted(cases[0].text, cases[0].tokens);
  EXPECT_EQ(counted.Count(0), 2u);  // the places of each token
  EXPECT_EQ(counted.Count(1), 1u);
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.text));
    ASSERT_EQ(InOrder(std::u16string(c.text), c.tokens, c.values), c.expected);  // the reference
    EXPECT_EQ(ByPlan(c.text, c.tokens, c.values), c.expected);
    EXPECT_EQ(ReplacementPlan(c.text, c.tokens).Admits(c.values), c.admits);
  }
}

TEST(ReplacementPlanTest, RandomTextsAgreeWithTheReplacementsInARow) {
  std::mt19937 random(9);
  auto pick = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  auto make = [&](std::u16string_view alphabet, size_t maxLength) {
    std::u16string text(pick(maxLength + 1), u' ');
    for (char16_t& c : text) c = alphabet[pick(alphabet.size())];
    return text;
  };
  size_t admitted = 0;
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::u16string> tokenTexts;
    std::vector<std::u16string> valueTexts;
    const size_t count = 1 + pick(4);
    for (size_t i = 0; i < count; ++i) {
      tokenTexts.push_back(u"%" + make(u"AB_", 3) + (pick(4) ? u"%" : u""));
      valueTexts.push_back(make(pick(3) ? u"xyB" : u"%AB_xy", 4));
    }
    const std::u16string text = make(u"%AB_x", 24);
    const Views tokens(tokenTexts.begin(), tokenTexts.end());
    const Views values(valueTexts.begin(), valueTexts.end());
    const std::u16string expected = InOrder(text, tokens, values);
    ASSERT_EQ(ByPlan(text, tokens, values), expected)
        << "text " << ToUtf8(text) << " round " << round;
    const ReplacementPlan plan(text, tokens);
    if (!plan.Admits(values)) continue;
    ++admitted;
    std::u16string planned;
    plan.AppendPlanned(planned, values);
    ASSERT_EQ(planned, expected) << "text " << ToUtf8(text) << " round " << round;
    EXPECT_EQ(plan.PlannedSize(values), expected.size());
  }
  EXPECT_GT(admitted, 2000u);  // the planned path is what the test is about
}

}  // namespace
}  // namespace QueriesProcessing
