#include <gtest/gtest.h>

#include "PagingTestSupport.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {
namespace {

using namespace MarkFragments;
using Testing::Parse;
using Testing::Raised;

TEST(MarkFragmentsTest, HoldsToken) {
  struct Case {
    std::u16string text;
    bool expected;
  } cases[] = {
      {u"a %T% b", true},   {u"%T%", true},
      {u"ab%T", false},     {u"", false},
      {u"%t%", false},      {u"\u2500T%", false},        // a unit whose high byte is "%"
      {u"\u2500%T%", true},                              // and the token right behind it
      {u"%%T%", true},      {u"\u2525\u2525%T%", true},  // both bytes of a unit are "%"
  };
  for (const auto& c : cases) EXPECT_EQ(HoldsToken(c.text, u"%T%"), c.expected) << ToUtf8(c.text);
  EXPECT_TRUE(HoldsToken(u"", u""));
}

TEST(MarkFragmentsTest, DirectionOperator) {
  struct Case {
    const char* entry;
    std::u16string_view expected;
  } cases[] = {
      {R"(<_ Direction="ASC"/>)", u">"}, {R"(<_ Direction="DESC"/>)", u"<"},
      {R"(<_ Direction="asc"/>)", u"<"}, {R"(<_ Direction="ASC "/>)", u"<"},
      {R"(<_ Direction="up"/>)", u"<"},
  };
  for (const auto& c : cases) EXPECT_EQ(DirectionOperator(Parse(c.entry)), c.expected) << c.entry;
  EXPECT_EQ(Raised([] { DirectionOperator(Parse("<_/>")); }), "0x80070490");
}

TEST(MarkFragmentsTest, MarkLiteral) {
  const MarkEntry mark = {
      {u"RID", u"12'3"}, {u"Who", u"O'Brien"}, {u"Empty", u""}, {u"When", u"\u00e4"}};
  struct Case {
    std::u16string_view column;
    std::u16string expected;
  } cases[] = {
      {u"Who", u"N'O''Brien'"}, {u"RID", u"'12''3'"},    {u"Empty", u"N''"},
      {u"Missing", u"N''"},     {u"When", u"N'\u00e4'"}, {u"rid", u"N''"},
  };
  for (const auto& c : cases) {
    std::u16string out = u"x";
    AppendMarkLiteral(out, mark, c.column);
    EXPECT_EQ(ToUtf8(out), ToUtf8(u"x" + c.expected)) << ToUtf8(c.column);
  }
  std::u16string out;
  AppendMarkLiteral(out, {}, u"RID");
  EXPECT_EQ(out, u"''");
}

TEST(MarkFragmentsTest, CollateSuffixAndItsTable) {
  const RequiredCollate table = ReadRequiredCollate(Parse(Testing::kConfig));
  EXPECT_EQ(table, (RequiredCollate{{u"When", false}, {u"Who", true}, {u"What_Action", true}}));
  EXPECT_EQ(CollateSuffix(table, u"Who"), u" COLLATE database_default ");
  EXPECT_EQ(CollateSuffix(table, u"When"), u"");
  for (const char16_t* unknown : {u"Where", u"who", u"RID", u""}) {
    EXPECT_EQ(Raised([&] { CollateSuffix(table, unknown); }), "0x80070057") << ToUtf8(unknown);
  }

  const RequiredCollate first = ReadRequiredCollate(Parse(
      R"(<_><MarkEntry Name="A" RequiredCollate="bool:true"/><MarkEntry Name="A" RequiredCollate="bool:false"/></_>)"));
  EXPECT_EQ(first, (RequiredCollate{{u"A", true}}));
  EXPECT_TRUE(ReadRequiredCollate(Parse("<_/>")).empty());
  for (const char* config :
       {R"(<_><MarkEntry RequiredCollate="bool:true"/></_>)", R"(<_><MarkEntry Name="A"/></_>)",
        R"(<_><MarkEntry Name="A" RequiredCollate="bool:true"/><MarkEntry Name="A"/></_>)"}) {
    EXPECT_EQ(Raised([&] { ReadRequiredCollate(Parse(config)); }), "0x80070490") << config;
  }
}

// The strategies' tests pin the usual conditions; these are the edges.
TEST(MarkFragmentsTest, CurrentCondition) {
  const RequiredCollate table = ReadRequiredCollate(Parse(Testing::kConfig));
  const MarkEntry mark = {{u"RID", u"7"}, {u"What_Action", u"Read"}, {u"ActionCode", u"4"}};
  const auto entries = [](const std::string& entries) {
    return Testing::Entries(Parse("<Query><_ _name=\"SortingRoot\">" + entries + "</_></Query>"));
  };
  struct Case {
    const char* entries;
    MarkEntry mark;
    bool actionByCode;
    std::string expected;
  } cases[] = {
      {R"(<_ Column="Where" Direction="DESC"/>)", {}, false, "(2=1)"},  // not consulted
      {R"(<_ Column="What_Action" Direction="ASC"/>)", mark, false,
       "([CurrentData].[What_Action] = N'Read' COLLATE database_default ) AND (1=1)"},
      {R"(<_ Column="When" Direction="DESC"/>)", mark, false,
       "([CurrentData].[When] = N'') AND (1=1)"},
      {"", mark, false, "(1=1)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(CurrentCondition(entries(c.entries), c.mark, table, c.actionByCode)),
              c.expected)
        << c.entries;
  }
  EXPECT_EQ(Raised([&] { CurrentCondition(entries(R"(<_ Column="Where"/>)"), mark, table, false); }),
            "0x80070057");
  EXPECT_EQ(Raised([&] { CurrentCondition(entries(R"(<_ Column="RID"/>)"), mark, table, false); }),
            "0x80070490");
}

}  // namespace
}  // namespace QueriesProcessing
