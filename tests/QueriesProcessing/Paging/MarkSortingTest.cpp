#include <gtest/gtest.h>

#include "PagingTestSupport.h"
#include "QueriesProcessing/Scriptwright/Paging/DefaultMarkSorting.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"
#include "QueriesProcessing/Scriptwright/Paging/WhatActionMarkSorting.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::Raised;

constexpr const char* kByWhen =
    R"(<_ Column="RID" Direction="ASC" Order="i32:1"/><_ Column="When" Direction="DESC"/>)";
constexpr const char* kByAction =
    R"(<_ Column="What_Action" Direction="DESC"/><_ Column="RID" Direction="ASC"/>)";
const std::vector<MarkColumn> kWhenMark = {{u"When", u"2024-01-01"}, {u"RID", u"5"}};
const std::vector<MarkColumn> kActionMark = {
    {u"What_Action", u"Ge'lesen"}, {u"ActionCode", u"4"}, {u"RID", u"9"}};

struct Fragments {
  std::string currentData, innerJoin, sortingField, sorting;
};

Fragments Build(const IMarkSorting& sorting, const char* entries,
                const std::vector<MarkColumn>& mark, bool light) {
  const VXNodePtr request = Testing::Request(entries, mark);
  const auto list = Testing::Entries(request);
  const MarkEntry markEntry = Testing::MarkOf(request);
  return {ToUtf8(sorting.BuildCurrentData(list, markEntry, light)),
          ToUtf8(sorting.BuildInnerJoin(list, markEntry, light)),
          ToUtf8(sorting.BuildSortingField(list)), ToUtf8(sorting.BuildSorting(list))};
}

const MarkFragments::RequiredCollate& Collate() {
  static const auto table = MarkFragments::ReadRequiredCollate(Parse(Testing::kConfig));
  return table;
}

// The fragments of a first page sorted by When; the other cases are
// written as their changes.
constexpr const char* kCurrentData = R"(%WHO_GROUP_CONDITION_InGroup%
%WHO_GROUP_CONDITION_NotInGroup%
WHERE
(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND ((2=1))
)";
constexpr const char* kInnerJoin = R"(INNER JOIN
(
    SELECT DISTINCT TOP %TOP%
        [When]
    FROM [%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%]
%WHO_GROUP_CONDITION_InGroup%
%WHO_GROUP_CONDITION_NotInGroup%
WHERE
(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND ((1=1))

    ORDER BY [When] DESC
) AS [Result_When]
ON [NextData].[When] = [Result_When].[When]
WHERE %CMARK_IJ_COND_START%((%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%))%CMARK_IJ_COND_END%
ORDER BY %SORTING%
)";

TEST(DefaultMarkSortingTest, Fragments) {
  using Testing::Edit;
  const CDefaultMarkSorting sorting(Collate());
  struct Case {
    const char* name;
    const char* entries;
    std::vector<MarkColumn> mark;
    bool light;
    std::string currentData, innerJoin;
  } cases[] = {
      {"first page", kByWhen, {}, false, kCurrentData, kInnerJoin},
      {"later page, light", kByWhen, kWhenMark, true,
       Edit(kCurrentData,
            {{"(2=1)", "([CurrentData].[When] = N'2024-01-01') AND ([CurrentData].[RID] > '5') AND "
                       "(1=1)"}}),
       Edit(kInnerJoin, {{"[%VIEW_NAME%]", "[vw_AllChangesSimple]"},
                         {"((1=1))", "([When] < N'2024-01-01')"}})},
      {"ascending, collated, quoted",
       R"(<_ Column="Who" Direction="ASC"/><_ Column="RID" Direction="DESC"/>)",
       {{u"Who", u"O'Brien"}, {u"RID", u"8"}}, false,
       Edit(kCurrentData, {{"(2=1)",
                            "([CurrentData].[Who] = N'O''Brien' COLLATE database_default ) AND "
                            "([CurrentData].[RID] < '8') AND (1=1)"}}),
       Edit(kInnerJoin, {{"When", "Who"},
                         {"DESC", "ASC"},
                         {"((1=1))", "([Who] > N'O''Brien' COLLATE database_default )"}})},
      {"row id only", R"(<_ Column="RID" Direction="ASC"/>)", {{u"RID", u"3"}}, true,
       Edit(kCurrentData, {{"(2=1)", "([CurrentData].[RID] > '3') AND (1=1)"}}), ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Fragments f = Build(sorting, c.entries, c.mark, c.light);
    EXPECT_EQ(f.currentData, c.currentData);
    EXPECT_EQ(f.innerJoin, c.innerJoin);
    EXPECT_EQ(f.sortingField, "");
    EXPECT_EQ(f.sorting, "ORDER BY %SORTING%");
  }
}

TEST(WhatActionMarkSortingTest, Fragments) {
  using Testing::Edit;
  const CWhatActionMarkSorting sorting(Collate());
  const std::string currentData = Edit(
      kCurrentData, {{"(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%)",
                      "%CMARK_IJ_COND_CURR_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND "
                      "(%ACCESS_FILTER%)%CMARK_IJ_COND_CURR_END%"}});
  const std::string innerJoin = R"(INNER JOIN
(
    SELECT DISTINCT TOP %TOP%
        [Actions].[What_Action] as [TextWhatAction],
[SubQuery].[What_Action] as [IntWhatAction]
    FROM [%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%] AS [SubQuery]
INNER JOIN [Actions]
ON [SubQuery].[What_Action] = [Actions].[What]
%WHO_GROUP_CONDITION_InGroup%
%WHO_GROUP_CONDITION_NotInGroup%
WHERE
(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND ((1=1))

    ORDER BY [Actions].[What_Action] DESC
) AS [Result_What_Action]
ON [NextData].[What_Action] = [Result_What_Action].[IntWhatAction]
WHERE %CMARK_IJ_COND_START%((%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%))%CMARK_IJ_COND_END%
ORDER BY [Result_What_Action].[TextWhatAction] DESC, [RID] ASC
)";
  struct Case {
    const char* name;
    std::vector<MarkColumn> mark;
    bool light;
    std::string currentData, innerJoin;
  } cases[] = {
      {"first page", {}, false, currentData, innerJoin},
      {"later page, light", kActionMark, true,
       Edit(currentData, {{"(2=1)",
                           "([CurrentData].[What_Action] = N'4' COLLATE database_default ) AND "
                           "([CurrentData].[RID] > '9') AND (1=1)"}}),
       Edit(innerJoin,
            {{"[%VIEW_NAME%]", "[vw_AllChangesSimple]"},
             {"((1=1))", "([Actions].[What_Action] < N'Ge''lesen' COLLATE database_default )"}})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Fragments f = Build(sorting, kByAction, c.mark, c.light);
    EXPECT_EQ(f.currentData, c.currentData);
    EXPECT_EQ(f.innerJoin, c.innerJoin);
    EXPECT_EQ(f.sortingField, ",[Actions].[What_Action] as [TextWhatAction]");
    EXPECT_EQ(f.sorting, "INNER JOIN [Actions]\nON [DataBaseResult].[What_Action] = "
                         "[Actions].[What]\nORDER BY [TextWhatAction] DESC,[RID] ASC");
  }
}

// A second column beside the action: it is compared as itself, sorted by as
// the action's text; and the RID entry's own direction is not used.
TEST(WhatActionMarkSortingTest, ASecondColumn) {
  const CWhatActionMarkSorting sorting(Collate());
  const Fragments f = Build(
      sorting,
      R"(<_ Column="What_Action" Direction="ASC"/><_ Column="When" Direction="DESC"/>)"
      R"(<_ Column="RID" Direction="DESC"/>)",
      {{u"What_Action", u"Read"}, {u"ActionCode", u"4"}, {u"When", u"w"}, {u"RID", u"9"}}, false);
  EXPECT_EQ(f.sorting, R"(INNER JOIN [Actions]
ON [DataBaseResult].[What_Action] = [Actions].[What]
ORDER BY [TextWhatAction] ASC,[TextWhatAction] DESC,[RID] ASC)");
  EXPECT_NE(
      f.innerJoin.find(
          "AND ([When] < N'w')\n\n    ORDER BY [Actions].[What_Action] DESC\n) AS [Result_When]\n"
          "ON [NextData].[When] = [Result_When].[IntWhatAction]\n"),
      std::string::npos)
      << f.innerJoin;
  EXPECT_NE(f.innerJoin.find("ORDER BY [Result_When].[TextWhatAction] DESC, [RID] ASC\n"),
            std::string::npos);
  EXPECT_NE(f.currentData.find(
                "AND (([CurrentData].[What_Action] = N'4' COLLATE database_default ) AND "
                "([CurrentData].[When] = N'w') AND ([CurrentData].[RID] < '9') AND (1=1))\n"),
            std::string::npos)
      << f.currentData;
}

// Behind a mark every non-RID column must be configured; on a first page it
// need not be. A missing Direction fails where it is read.
TEST(MarkSortingTest, Failures) {
  const CDefaultMarkSorting plain(Collate());
  const CWhatActionMarkSorting action(Collate());
  const char* unknown = R"(<_ Column="Where" Direction="ASC"/><_ Column="RID" Direction="ASC"/>)";
  const std::vector<MarkColumn> mark = {{u"Where", u"x"}, {u"RID", u"1"}};
  for (const IMarkSorting* sorting :
       {static_cast<const IMarkSorting*>(&plain), static_cast<const IMarkSorting*>(&action)}) {
    EXPECT_EQ(Raised([&] { Build(*sorting, unknown, {}, false); }), "none");
    const VXNodePtr request = Testing::Request(unknown, mark);
    const auto entries = Testing::Entries(request);
    const MarkEntry markEntry = Testing::MarkOf(request);
    EXPECT_EQ(Raised([&] { sorting->BuildCurrentData(entries, markEntry, false); }), "0x80070057");
    EXPECT_EQ(Raised([&] { sorting->BuildInnerJoin(entries, markEntry, false); }), "0x80070057");
    EXPECT_EQ(Raised([&] { Build(*sorting, R"(<_ Column="When"/>)", {}, false); }), "0x80070490");
  }
}

}  // namespace
}  // namespace QueriesProcessing
