#include <gtest/gtest.h>

#include "PagingTestSupport.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkDefaultProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkProcessors.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkSortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkWhileProcessor.h"
#include "QueriesProcessing/Scriptwright/Paging/DefaultMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"
#include "QueriesProcessing/Scriptwright/Paging/WhatActionMarkSorting.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::Raised;
using Testing::Request;
using Testing::RunMark;

constexpr const char* kByWhen =
    R"(<_ Column="When" Direction="DESC"/><_ Column="RID" Direction="ASC"/>)";
constexpr const char* kByAction =
    R"(<_ Column="What_Action" Direction="DESC"/><_ Column="RID" Direction="ASC"/>)";
const std::vector<MarkColumn> kWhenMark = {{u"When", u"2024-01-01"}, {u"RID", u"5"}};
const std::vector<MarkColumn> kActionMark = {
    {u"What_Action", u"Ge'lesen"}, {u"ActionCode", u"4"}, {u"RID", u"9"}};

TEST(ContinuationMarkDefaultProcessorTest, RowIdCondition) {
  const ContinuationMarkDefaultProcessor processor(Parse(Testing::kConfig));
  const std::u16string text = u"WHERE %CONDITION_CMARK% AND (%CONDITION_CMARK%)";
  struct Case {
    std::vector<MarkColumn> mark;
    std::u16string text;
    std::string expected;
  } cases[] = {
      {{{u"RID", u"42"}}, text, "WHERE [RID] > '42' AND ([RID] > '42')"},
      {{}, text, "WHERE [RID] > '0' AND ([RID] > '0')"},
      {{{u"When", u"w"}}, u"%CONDITION_CMARK%", "[RID] > '0'"},
      {{{u"RID", u"4'2"}}, u"%CONDITION_CMARK%", "[RID] > '4'2'"},  // taken as it stands
      {{{u"RID", u"42"}}, u"WHERE (1=1)", "WHERE (1=1)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RunMark(processor, Request(nullptr, c.mark, "search"), c.text), c.expected)
        << ToUtf8(c.text);
  }

  // The configured column; the mark of the database asked for, or none.
  const ContinuationMarkDefaultProcessor byId(Parse(R"(<_ continuation_mark_column="Id"/>)"));
  const VXNodePtr request = Request(nullptr, {{u"RID", u"7"}});
  const auto mark = std::make_shared<const CContinuationMark>(request);
  for (const auto& [dbKey, withMark, expected] :
       {std::tuple{u"[audit]", true, u"[Id] > '7'"}, std::tuple{u"[OTHER]", true, u"[Id] > '0'"},
        std::tuple{u"[AUDIT]", false, u"[Id] > '0'"}}) {
    std::u16string out = u"%CONDITION_CMARK%";
    EXPECT_EQ(byId.ProcessNode(request, dbKey, out, withMark ? mark : nullptr), S_OK);
    EXPECT_EQ(out, expected);
  }
}

constexpr std::u16string_view kSortingTemplate =
    u"SELECT [RID]%CMARK_SORTING_FIELD% FROM\n%CMARK_CURRENT_DATA%--\n%CMARK_INNER_JOIN%--\n"
    u"%CMARK_SORTING%";

// Which strategy, which light flag, which mark: the text is the template with
// that strategy's fragments, the current data never light.
TEST(ContinuationMarkSortingProcessorTest, ChoosesStrategyAndView) {
  const ContinuationMarkSortingProcessor processor(Parse(Testing::kConfig));
  const auto collate = MarkFragments::ReadRequiredCollate(Parse(Testing::kConfig));
  const CDefaultMarkSorting plain(collate);
  const CWhatActionMarkSorting action(collate);
  struct Case {
    const char* entries;
    std::vector<MarkColumn> mark;
    std::string templateName;
    const IMarkSorting& strategy;
    bool light;
  } cases[] = {
      {kByWhen, kWhenMark, "query_all_data_by_rid_with_cm_sort", plain, false},
      {kByWhen, kWhenMark, "query_all_data_by_rid_with_cm_sort_light", plain, true},
      {kByAction, {}, "query_all_data_by_rid_with_cm_sort", action, false},
      {kByAction, kActionMark, "query_all_data_by_rid_with_cm_sort_light", action, true},
      {kByAction, kActionMark, "query_all_data_by_rid_with_cm_sort_while_light_with_classes",
       action, false},
  };
  for (const auto& c : cases) {
    const VXNodePtr request = Request(c.entries, c.mark, c.templateName);
    const auto entries = Testing::Entries(request);
    const MarkEntry markEntry = Testing::MarkOf(request);
    std::u16string expected(kSortingTemplate);
    ReplaceAll(expected, u"%CMARK_CURRENT_DATA%",
               c.strategy.BuildCurrentData(entries, markEntry, false));
    ReplaceAll(expected, u"%CMARK_INNER_JOIN%",
               c.strategy.BuildInnerJoin(entries, markEntry, c.light));
    ReplaceAll(expected, u"%CMARK_SORTING_FIELD%", c.strategy.BuildSortingField(entries));
    ReplaceAll(expected, u"%CMARK_SORTING%", c.strategy.BuildSorting(entries));
    EXPECT_EQ(RunMark(processor, request, std::u16string(kSortingTemplate)), ToUtf8(expected))
        << c.templateName;
  }
}

constexpr std::u16string_view kWhileTemplate =
    u"N=%CMARK_NAME_FIELD%\nC=%CMARK_CURRENT_DATA%\nI=%CMARK_NAME_FIELD_INS%\n"
    u"X=%CMARK_NEXT_CONDITION%\nO=%CMARK_NEXT_CONDITION_ORDER%\nD=%CMARK_DISTINCT_FIELD%\n"
    u"S=%SELECT_TOP_ACTION%\nJ=%WHILE_NEXT_DATA_JOIN%\nV=%CMARK_VIEW_NAME%\nP=%CMARK_OPERATOR%";
constexpr const char* kWhile = "query_all_data_by_rid_with_cm_sort_while_with_classes";
constexpr const char* kWhileLight = "query_all_data_by_rid_with_cm_sort_while_light_with_classes";

// kWhileTemplate for a first page sorted by When; the other cases are
// written as its changes.
constexpr const char* kWhileFirstPage = R"(N=[NextData].[When]
C=%WHO_GROUP_CONDITION_InGroup%
%WHO_GROUP_CONDITION_NotInGroup%
WHERE
(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND ((2=1))

I=[NextData].[When]
X=WHERE
%CMARK_IJ_COND_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%)%CMARK_IJ_COND_END% AND ((1=1))

O=ORDER BY [When] DESC
D=[When]
S=
J=
V=%VIEW_NAME%
P=<)";

TEST(ContinuationMarkWhileProcessorTest, Steps) {
  using Testing::Edit;
  const ContinuationMarkWhileProcessor processor(Parse(Testing::kConfig));
  const std::string ridOnly = Edit(kWhileFirstPage, {{"[NextData].[When]", "RID"},
                                                     {"[When] DESC", "[RID] ASC"},
                                                     {"[When]", "[RID]"},
                                                     {"P=<", "P= = "}});
  struct Case {
    const char* name;
    const char* entries;
    std::vector<MarkColumn> mark;
    const char* templateName;
    std::string expected;
  } cases[] = {
      {"plain sort, first page", kByWhen, {}, kWhile, kWhileFirstPage},
      {"plain sort, later page", kByWhen, kWhenMark, kWhile,
       Edit(kWhileFirstPage,
            {{"((2=1))", "(([CurrentData].[When] = N'2024-01-01') AND ([CurrentData].[RID] > "
                         "'5') AND (1=1))"},
             {"((1=1))", "(([NextData].[When] < N'2024-01-01') AND (1=1))"}})},
      {"action, later page, light", kByAction, kActionMark, kWhileLight,
       R"(N=[Actions].[What_Action]
C=%WHO_GROUP_CONDITION_InGroup%
%WHO_GROUP_CONDITION_NotInGroup%
WHERE
%CMARK_IJ_COND_CURR_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%)%CMARK_IJ_COND_CURR_END% AND (([CurrentData].[What_Action] = N'4' COLLATE database_default ) AND ([CurrentData].[RID] > '9') AND (1=1))

I=[NextData].[What_Action]
X=INNER JOIN [Actions]
ON [NextData].[What_Action] = [Actions].[What]
WHERE
%CMARK_IJ_COND_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%)%CMARK_IJ_COND_END% AND (([Actions].[What_Action] < N'Ge''lesen' COLLATE database_default ) AND (1=1))

O=ORDER BY [Actions].[What_Action] DESC
D=[Actions].[What_Action]
S=, @What_ActionInt = [NextData].[What_Action]
J=
V=vw_AllChangesSimple
P=<)"},
      {"row id only", R"(<_ Column="RID" Direction="ASC"/>)", {{u"RID", u"3"}}, kWhile,
       Edit(ridOnly, {{"((2=1))", "(([CurrentData].[RID] > '3') AND (1=1))"}})},
      {"no sort entries", "", {{u"RID", u"3"}}, kWhileLight,
       Edit(ridOnly, {{"N=RID", "N="},
                      {"I=RID", "I="},
                      {"((2=1))", "((1=1))"},
                      {"ORDER BY [RID] ASC", ""},
                      {"[RID]", "[]"},
                      {"%VIEW_NAME%", "vw_AllChangesSimple"}})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(RunMark(processor, Request(c.entries, c.mark, c.templateName),
                      std::u16string(kWhileTemplate)),
              c.expected);
  }
}

// The action's number goes into the name field for inserts, and every action
// entry adds its order; a second column compares on the view's own column.
TEST(ContinuationMarkWhileProcessorTest, ActionWithASecondColumn) {
  const ContinuationMarkWhileProcessor processor(Parse(Testing::kConfig));
  const char* entries =
      R"(<_ Column="RID" Direction="ASC" Order="i32:5"/><_ Column="Who" Direction="ASC"/><_ Column="What_Action" Direction="ASC"/>)";
  const VXNodePtr request =
      Request(entries, {{u"Who", u"x"}, {u"What_Action", u"Read"}, {u"RID", u"2"}}, kWhile);
  EXPECT_EQ(RunMark(processor, request,
                    u"%CMARK_NAME_FIELD%|%CMARK_NAME_FIELD_INS%|%CMARK_NEXT_CONDITION_ORDER%|%"
                    u"CMARK_OPERATOR%|"
                    u"%CMARK_NEXT_CONDITION%"),
            "[NextData].[Who]|[NextData].[Who]|ORDER BY [Actions].[What_Action] ASC|>|"
            "INNER JOIN [Actions]\nON [NextData].[What_Action] = [Actions].[What]\nWHERE\n"
            "%CMARK_IJ_COND_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND "
            "(%ACCESS_FILTER%)%CMARK_IJ_COND_END% "
            "AND (([NextData].[Who] > N'x' COLLATE database_default ) AND "
            "([Actions].[What_Action] > N'Read' COLLATE database_default ) AND (1=1))\n");
}

// A failure leaves the text as it was; a first page does not consult the
// MarkEntry list.
TEST(ContinuationMarkProcessorsTest, Failures) {
  const ContinuationMarkSortingProcessor sorting(Parse(Testing::kConfig));
  const ContinuationMarkWhileProcessor loop(Parse(Testing::kConfig));
  const char* unknown = R"(<_ Column="Where" Direction="ASC"/><_ Column="RID" Direction="ASC"/>)";
  const std::vector<MarkColumn> unknownMark = {{u"Where", u"1"}, {u"RID", u"1"}};
  const VXNodePtr emptyRoot = Parse(R"(<Query><_ _name="SortingRoot"/></Query>)");
  struct Case {
    const IContinuationMarkProcessor& processor;
    VXNodePtr request;
    std::u16string text;
    std::string expected;
  } cases[] = {
      {sorting, Request(kByWhen, kWhenMark), u"no tokens", "no tokens"},
      {sorting, Request(nullptr), u"no tokens", "error 0x80070490: no tokens"},
      {sorting, emptyRoot, u"%CMARK_SORTING%", "error 0x80070490: %CMARK_SORTING%"},
      {sorting, Request(R"(<_ Column="When"/>)"), u"%CMARK_SORTING%",
       "error 0x80070490: %CMARK_SORTING%"},
      {sorting, Request(unknown), u"x", "x"},
      {sorting, Request(unknown, unknownMark), u"%CMARK_SORTING%",
       "error 0x80070057: %CMARK_SORTING%"},
      {sorting, Request(unknown, unknownMark), u"no tokens", "error 0x80070057: no tokens"},
      {loop, Request(nullptr, {}, kWhile), u"%CMARK_OPERATOR%",
       "error 0x80070490: %CMARK_OPERATOR%"},
      {loop, emptyRoot, u"%CMARK_OPERATOR%", "error 0x80070490: %CMARK_OPERATOR%"},
      {loop, Request(R"(<_ Column="When"/>)", {}, kWhile), u"%CMARK_OPERATOR%",
       "error 0x80070490: %CMARK_OPERATOR%"},
      {loop, Request(unknown, {}, kWhile), u"%CMARK_OPERATOR%", ">"},
      {loop, Request(unknown, unknownMark, kWhile), u"%CMARK_OPERATOR%",
       "error 0x80070057: %CMARK_OPERATOR%"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(RunMark(c.processor, c.request, c.text), c.expected) << c.expected;
}

TEST(ContinuationMarkProcessorsTest, ChoiceByTemplateName) {
  using Kind = ContinuationMarkProcessors::Kind;
  const ContinuationMarkProcessors processors(Parse(Testing::kConfig));
  struct Case {
    const char16_t* name;
    Kind kind;
    const std::shared_ptr<IContinuationMarkProcessor>& processor;
  } cases[] = {
      {u"query_all_data_by_rid_with_cm_sort", Kind::Sorting, processors.SortProcessor()},
      {u"query_all_data_by_rid_with_cm_sort_light", Kind::Sorting, processors.SortProcessor()},
      {u"query_all_data_by_rid_with_cm_sort_while_with_classes", Kind::While,
       processors.SortWhileProcessor()},
      {u"query_all_data_by_rid_with_cm_sort_while_light_with_classes", Kind::While,
       processors.SortWhileProcessor()},
      {u"QUERY_ALL_DATA_BY_RID_WITH_CM_SORT", Kind::Default, processors.DefaultProcessor()},
      {u"", Kind::Default, processors.DefaultProcessor()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ContinuationMarkProcessors::KindOf(c.name), c.kind) << ToUtf8(c.name);
    EXPECT_EQ(processors.Choose(c.name).get(), c.processor.get()) << ToUtf8(c.name);
  }
}

TEST(ContinuationMarkProcessorsTest, ConfigurationFailures) {
  for (const char* config :
       {R"(<_/>)", R"(<_ continuation_mark_column="RID"><MarkEntry Name="A"/></_>)",
        R"(<_ continuation_mark_column="RID"><MarkEntry RequiredCollate="bool:true"/></_>)"}) {
    EXPECT_EQ(Raised([&] { ContinuationMarkProcessors processors(Parse(config)); }), "0x80070490")
        << config;
  }
  EXPECT_EQ(
      Raised([] {
        ContinuationMarkProcessors processors(Parse(R"(<_ continuation_mark_column="RID"/>)"));
      }),
      "none");
}

}  // namespace
}  // namespace QueriesProcessing
