#include <gtest/gtest.h>

#include "ProcessorRunner.h"
#include "QueriesProcessing/Scriptwright/Shaping/CMSortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/SortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/SortingRootAdjustProcessor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RunProcessor;

VXNodePtr Sorted(const std::string& entries) {
  return Parse("<Query><_ _name=\"SortingRoot\">" + entries + "</_></Query>");
}

TEST(SortingProcessorTest, OrderedList) {
  constexpr const char* kConfig = R"x(<_ variable="%SORTING%"/>)x";
  struct Case {
    std::string entries, expected;
  } cases[] = {
      {"", "ORDER BY "},
      {R"x(<_ Column="When" Direction="DESC" AliasTable="a"/>)x", "ORDER BY [a].[When] DESC"},
      {R"x(<_ Column="A" Direction="ASC" Order="i32:2"/><_ Column="B" Direction="DESC" Order="i32:1"/>)x",
       "ORDER BY [B] DESC,[A] ASC"},
      {R"x(<_ Column="A" Direction="ASC"/><_ Column="B" Direction="x" Order="i32:-1"/><_ Column="C" Direction="ASC"/>)x",
       "ORDER BY [B] x,[A] ASC,[C] ASC"},
      {R"x(<_ Column="What_Action" Direction="ASC"/><_ Column="c]" Direction="ASC"/>)x",
       "ORDER BY [What_Action] ASC,[c]]] ASC"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RunProcessor<CSortingProcessor>(kConfig, Sorted(c.entries), u"ORDER BY %SORTING%"), c.expected);
  }
  EXPECT_EQ(RunProcessor<CSortingProcessor>(kConfig, Parse("<Query/>"), u"%SORTING%"), "error 0x80070490: %SORTING%");
  EXPECT_EQ(RunProcessor<CSortingProcessor>(kConfig, Sorted(R"x(<_ Column="A"/>)x"), u"%SORTING%"),
            "error 0x80070490: %SORTING%");
  EXPECT_EQ(RunProcessor<CSortingProcessor>("<_/>", Parse("<Query/>"), u""), "load error 0x80070490");
}

TEST(SortingRootAdjustProcessorTest, AddsTheRowIdOnce) {
  constexpr const char* kConfig =
      R"x(<_><_ _name="SortingEntry" Column="RID" Direction="ASC" Order="i32:100"/></_>)x";
  CSortingRootAdjustProcessor processor;
  ASSERT_EQ(processor.Initialize(Parse(kConfig)), S_OK);
  std::u16string text = u"%SORTING_ROOT_ADJUST%";
  VXNodePtr request = Parse("<Query/>");
  ASSERT_EQ(processor.ProcessNode(request, VXNodePtr(), text), S_OK);
  ASSERT_EQ(processor.ProcessNode(request, VXNodePtr(), text), S_OK);
  EXPECT_EQ(text, u"%SORTING_ROOT_ADJUST%");
  VXNodePtr root = request.GetChild(u"SortingRoot");
  ASSERT_TRUE(root);
  EXPECT_EQ(root.GetType(), u"SortingRoot");
  ASSERT_EQ(root.ChildCount(), 1u);
  EXPECT_EQ(root.ChildAt(0).GetName(), u"RID");
  EXPECT_EQ(root.ChildAt(0).GetInt32(u"Order"), 100);

  VXNodePtr own = Sorted(R"x(<_ _name="RID" Column="RID" Direction="DESC"/>)x");
  ASSERT_EQ(processor.ProcessNode(own, VXNodePtr(), text), S_OK);
  EXPECT_EQ(own.GetChild(u"SortingRoot").ChildCount(), 1u);  // the caller's RID entry wins
  VXNodePtr byColumn = Sorted(R"x(<_ _name="other" Column="RID" Direction="DESC"/>)x");
  ASSERT_EQ(processor.ProcessNode(byColumn, VXNodePtr(), text), S_OK);
  EXPECT_EQ(byColumn.GetChild(u"SortingRoot").ChildCount(), 2u);

  EXPECT_EQ(RunProcessor<CSortingRootAdjustProcessor>("<_/>", Parse("<Query/>"), u""), "load error 0x80070490");
}

TEST(CMSortingProcessorTest, QualifyBracketedNames) {
  struct Case {
    std::u16string text;
    std::string expected;
  } cases[] = {
      {u"A %S%( [x] = N'[y]' AND [%T%] AND [1]) %E% [z]", "A ( [P].[x] = N'[P].[y]' AND [%T%] AND [1])  [z]"},
      {u"%S%[x] [y]%E%", "[x] [P].[y]"},                  // the character behind the token is skipped
      {u"%S%( [a].[b] %E%%S%( [c] %E%", "( [P].[a].[P].[b] ( [P].[c] "},
      {u"%E% [x] %S%( [y]", " [x] ( [y]"},                  // end before start: nothing qualified
      {u"%S%( [y]", "( [y]"},                             // no end token at all
      {u"[x]", "[x]"},
      {u"%S%( [\u00c4rger] [\u00d7] %E%", "( [P].[\xc3\x84rger] [\xc3\x97] "},
  };
  for (auto c : cases) {
    CCMSortingProcessor::QualifyBracketedNames(c.text, u"%S%", u"%E%", u"[P].");
    EXPECT_EQ(ToUtf8(c.text), c.expected);
  }
}

// A plain sort and a sort by the action alone are pinned by the golden case
// shaping/next-page.
TEST(CMSortingProcessorTest, ActionSortingAndSelectField) {
  const std::u16string text =
      u"SELECT [RID]%CMARK_FIRST_SELECT_FIELD% WHERE %CMARK_IJ_COND_START%( [Who] = 1 %CMARK_IJ_COND_END% AND "
      u"%CMARK_IJ_COND_CURR_START%( [When] > 2 %CMARK_IJ_COND_CURR_END% %CMARK_SORTING%";
  struct Case {
    std::string entries, expected;
  } cases[] = {
      {R"x(<_ Column="Who" Direction="ASC" Order="i32:1"/><_ Column="What_Action" Direction="DESC"/><_ Column="RID"/>)x",
       "SELECT [RID], CAST(N'' AS nvarchar(max)) AS [TextWhatAction] WHERE ( [NextData].[Who] = 1  AND "
       "( [CurrentData].[When] > 2  ORDER BY [Actions].[What_Action] DESC,[Actions].[What_Action] ASC,[RID] ASC"},
      {R"x(<_ Column="what_action" Direction="DESC"/>)x",
       "SELECT [RID] WHERE ( [NextData].[Who] = 1  AND ( [CurrentData].[When] > 2  ORDER BY %SORTING%"},
  };
  for (const auto& c : cases) EXPECT_EQ(RunProcessor<CCMSortingProcessor>("", Sorted(c.entries), text), c.expected);
  EXPECT_EQ(RunProcessor<CCMSortingProcessor>("", Parse("<Query/>"), u"%CMARK_SORTING%"),
            "error 0x80070490: %CMARK_SORTING%");
}

}  // namespace
}  // namespace QueriesProcessing
