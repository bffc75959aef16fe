#include "QueriesProcessing/Scriptwright/Paging/DefaultMarkSorting.h"

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
using MarkFragments::RequiredCollate;

namespace {

constexpr std::u16string_view kCurrentData =
    u"%WHO_GROUP_CONDITION_InGroup%\n%WHO_GROUP_CONDITION_NotInGroup%\nWHERE\n"
    u"(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND "
    u"(%CMARK_CD_CONDITION%)\n";

constexpr std::u16string_view kNextData =
    u"FROM [%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%]\n%WHO_GROUP_CONDITION_InGroup%\n"
    u"%WHO_GROUP_CONDITION_NotInGroup%\nWHERE\n"
    u"(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND (%ACCESS_FILTER%) AND "
    u"(%CMARK_ND_CONDITION%)\n";

}  // namespace

CDefaultMarkSorting::CDefaultMarkSorting(RequiredCollate requiredCollate)
    : requiredCollate_(std::move(requiredCollate)) {}

std::u16string CDefaultMarkSorting::BuildCurrentData(const std::vector<VXNodePtr>& entries,
                                                     const MarkEntry& markEntry, bool) const {
  std::u16string text(kCurrentData);
  ReplaceAll(text, u"%CMARK_CD_CONDITION%",
             CurrentCondition(entries, markEntry, requiredCollate_, false));
  return text;
}

std::u16string CDefaultMarkSorting::NextData(const VXNodePtr& entry, const std::u16string& column,
                                             const MarkEntry& markEntry) const {
  std::u16string condition;
  if (markEntry.empty()) {
    condition = u"(1=1)";
  } else {
    condition.append(u"[")
        .append(column)
        .append(u"] ")
        .append(DirectionOperator(entry))
        .append(u" ");
    AppendMarkLiteral(condition, markEntry, column);
    condition.append(CollateSuffix(requiredCollate_, column));
  }
  std::u16string text(kNextData);
  ReplaceAll(text, u"%CMARK_ND_CONDITION%", condition);
  return text;
}

std::u16string CDefaultMarkSorting::BuildInnerJoin(const std::vector<VXNodePtr>& entries,
                                                   const MarkEntry& markEntry, bool light) const {
  std::u16string joins;
  joins.reserve(entries.size() * (kInnerJoinBlock.size() + kNextData.size() + 128));
  for (const auto& entry : entries) {
    const std::u16string c = Column(entry);
    if (c == kRowId) continue;
    std::u16string block(kInnerJoinBlock);
    ReplaceAll(block, u"%CMARK_IJ_FIELDS_SORT%", u"[" + c + u"]");
    ReplaceAll(block, u"%CMARK_IJ_LEFT_FIELD%", c);
    ReplaceAll(block, u"%CMARK_IJ_RIGHT_FIELD%", c);
    ReplaceAll(block, u"%CMARK_IJ_ALIAS_RESULT%", u"Result_" + c);
    ReplaceAll(block, u"%CMARK_IJ_NEXT_DATA%", NextData(entry, c, markEntry));
    ReplaceAll(block, u"%CMARK_IJ_NEXT_DATA_SORTING%", u"[" + c + u"] " + Direction(entry));
    ReplaceAll(block, u"%CMARK_IJ_SORTING%", u"%SORTING%");
    joins += block;
  }
  if (light) ReplaceAll(joins, u"%VIEW_NAME%", kLightView);
  return joins;
}

std::u16string CDefaultMarkSorting::BuildSortingField(const std::vector<VXNodePtr>&) const {
  return u"";
}

std::u16string CDefaultMarkSorting::BuildSorting(const std::vector<VXNodePtr>&) const {
  return u"ORDER BY %SORTING%";
}

}  // namespace QueriesProcessing
