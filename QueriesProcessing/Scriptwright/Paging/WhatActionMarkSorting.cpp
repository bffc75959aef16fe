#include "QueriesProcessing/Scriptwright/Paging/WhatActionMarkSorting.h"

#include <utility>

#include "Common/Text.h"

namespace QueriesProcessing {

using MarkFragments::AppendMarkLiteral;
using MarkFragments::CollateSuffix;
using MarkFragments::Column;
using MarkFragments::CurrentCondition;
using MarkFragments::Direction;
using MarkFragments::DirectionOperator;
using MarkFragments::kInnerJoinBlock;
using MarkFragments::kLightView;
using MarkFragments::kRowId;
using MarkFragments::kWhatAction;
using MarkFragments::RequiredCollate;

namespace {

constexpr std::u16string_view kCurrentData =
    u"%WHO_GROUP_CONDITION_InGroup%\n%WHO_GROUP_CONDITION_NotInGroup%\nWHERE\n"
    u"%CMARK_IJ_COND_CURR_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND "
    u"(%ACCESS_FILTER%)%CMARK_IJ_COND_CURR_END% AND (%CMARK_CD_CONDITION%)\n";

constexpr std::u16string_view kNextData =
    u"FROM [%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%] AS [SubQuery]\nINNER JOIN "
    u"[Actions]\n"
    u"ON [SubQuery].[What_Action] = [Actions].[What]\n%WHO_GROUP_CONDITION_InGroup%\n"
    u"%WHO_GROUP_CONDITION_NotInGroup%\nWHERE\n"
    u"(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND "
    u"(%CMARK_ND_CONDITION%)\n";

constexpr std::u16string_view kFieldsSort =
    u"[Actions].[What_Action] as [TextWhatAction],\n[SubQuery].[What_Action] as [IntWhatAction]";

constexpr std::u16string_view kSortingJoin =
    u"INNER JOIN [Actions]\nON [DataBaseResult].[What_Action] = [Actions].[What]\nORDER BY ";

}  // namespace

CWhatActionMarkSorting::CWhatActionMarkSorting(RequiredCollate requiredCollate)
    : requiredCollate_(std::move(requiredCollate)) {}

std::u16string CWhatActionMarkSorting::BuildCurrentData(const std::vector<VXNodePtr>& entries,
                                                        const MarkEntry& markEntry, bool) const {
  std::u16string text(kCurrentData);
  ReplaceAll(text, u"%CMARK_CD_CONDITION%",
             CurrentCondition(entries, markEntry, requiredCollate_, true));
  return text;
}

// The next rows compare the action's text, so the value is the mark's text
// under the column's own name.
std::u16string CWhatActionMarkSorting::NextData(const VXNodePtr& entry,
                                                const std::u16string& column,
                                                const MarkEntry& markEntry) const {
  std::u16string condition;
  if (markEntry.empty()) {
    condition = u"(1=1)";
  } else {
    if (column == kWhatAction) {
      condition.append(u"[Actions].[What_Action]");
    } else {
      condition.append(u"[").append(column).append(u"]");
    }
    condition.append(u" ").append(DirectionOperator(entry)).append(u" ");
    AppendMarkLiteral(condition, markEntry, column);
    condition.append(CollateSuffix(requiredCollate_, column));
  }
  std::u16string text(kNextData);
  ReplaceAll(text, u"%CMARK_ND_CONDITION%", condition);
  return text;
}

std::u16string CWhatActionMarkSorting::BuildInnerJoin(const std::vector<VXNodePtr>& entries,
                                                      const MarkEntry& markEntry,
                                                      bool light) const {
  std::u16string joins;
  joins.reserve(entries.size() * (kInnerJoinBlock.size() + kNextData.size() + 256));
  for (const auto& entry : entries) {
    const std::u16string c = Column(entry);
    if (c == kRowId) continue;
    std::u16string block(kInnerJoinBlock);
    ReplaceAll(block, u"%CMARK_IJ_FIELDS_SORT%", kFieldsSort);
    ReplaceAll(block, u"%CMARK_IJ_LEFT_FIELD%", c);
    ReplaceAll(block, u"%CMARK_IJ_RIGHT_FIELD%", u"IntWhatAction");
    ReplaceAll(block, u"%CMARK_IJ_NEXT_DATA_SORTING%",
               u"[Actions].[What_Action] " + Direction(entry));
    ReplaceAll(block, u"%CMARK_IJ_SORTING%",
               u"[%CMARK_IJ_ALIAS_RESULT%].[TextWhatAction] " + Direction(entry) + u", [RID] ASC");
    ReplaceAll(block, u"%CMARK_IJ_NEXT_DATA%", NextData(entry, c, markEntry));
    // Last: the sorting above brought in one more alias token.
    ReplaceAll(block, u"%CMARK_IJ_ALIAS_RESULT%", u"Result_" + c);
    joins += block;
  }
  if (light) ReplaceAll(joins, u"%VIEW_NAME%", kLightView);
  return joins;
}

std::u16string CWhatActionMarkSorting::BuildSortingField(const std::vector<VXNodePtr>&) const {
  return u",[Actions].[What_Action] as [TextWhatAction]";
}

std::u16string CWhatActionMarkSorting::BuildSorting(const std::vector<VXNodePtr>& entries) const {
  std::u16string sorting(kSortingJoin);
  for (const auto& entry : entries) {
    if (Column(entry) == kRowId) continue;
    sorting.append(u"[TextWhatAction] ").append(Direction(entry)).append(u",");
  }
  sorting.append(u"[RID] ASC");
  return sorting;
}

}  // namespace QueriesProcessing
