#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Common/ContinuationMark.h"

// The pieces every continuation mark processor and strategy shares.
namespace QueriesProcessing::MarkFragments {

// Sortable column -> whether a comparison with it needs a collation clause.
using RequiredCollate = std::unordered_map<std::u16string, bool>;

inline constexpr std::u16string_view kRowId = u"RID";
inline constexpr std::u16string_view kWhatAction = u"What_Action";
inline constexpr std::u16string_view kLightView = u"vw_AllChangesSimple";

// The block of %CMARK_INNER_JOIN% that both strategies fill in per column.
inline constexpr std::u16string_view kInnerJoinBlock =
    u"INNER JOIN\n(\n    SELECT DISTINCT TOP %TOP%\n        %CMARK_IJ_FIELDS_SORT%\n    "
    u"%CMARK_IJ_NEXT_DATA%\n"
    u"    ORDER BY %CMARK_IJ_NEXT_DATA_SORTING%\n) AS [%CMARK_IJ_ALIAS_RESULT%]\n"
    u"ON [NextData].[%CMARK_IJ_LEFT_FIELD%] = [%CMARK_IJ_ALIAS_RESULT%].[%CMARK_IJ_RIGHT_FIELD%]\n"
    u"WHERE %CMARK_IJ_COND_START%((%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND "
    u"(%ACCESS_FILTER%))%CMARK_IJ_COND_END%\nORDER BY %CMARK_IJ_SORTING%\n";

// The children of the configuration node of node type "MarkEntry", each with
// `Name` (string) and `RequiredCollate` (bool), both required (HRX
// 0x80070490); the first of a name stays. Other children are ignored.
RequiredCollate ReadRequiredCollate(const VXNodePtr& config);

// True when `text` holds `token`; an empty token is always held. Every pair
// of a fan-out passes its whole text through here, so candidates are found
// with memchr rather than unit by unit.
bool HoldsToken(std::u16string_view text, std::u16string_view token);

// A sort entry's `Column` and `Direction`; missing: HRX 0x80070490.
std::u16string Column(const VXNodePtr& entry);
std::u16string Direction(const VXNodePtr& entry);

// True when an entry's `Column` is exactly "What_Action".
bool SortsByAction(const std::vector<VXNodePtr>& entries);

// ">" for a `Direction` of exactly "ASC", else "<": a descending sort pages
// towards smaller values. The word itself is not checked.
std::u16string_view DirectionOperator(const VXNodePtr& entry);

// Appends the mark's value of `column` as a literal: "N'v'" with every "'"
// doubled, or "'v'" for "RID". A column the mark lacks gives N''.
void AppendMarkLiteral(std::u16string& out, const MarkEntry& markEntry, std::u16string_view column);

// " COLLATE database_default " (blanks on both sides) for a column that needs
// it, "" for one that does not; a column not configured raises HRX
// 0x80070057.
std::u16string_view CollateSuffix(const RequiredCollate& requiredCollate,
                                  std::u16string_view column);

// The current rows' condition: "(2=1)" without a mark; else per entry
// "([CurrentData].[c] = <value><collate>) AND ", or for "RID"
// "([CurrentData].[RID] <DirectionOperator> '<rid>') AND ", then "(1=1)".
// With `actionByCode` the value of "What_Action" is read from the mark's
// "ActionCode" (the number the views hold); the collation stays keyed by the
// column.
std::u16string CurrentCondition(const std::vector<VXNodePtr>& entries, const MarkEntry& markEntry,
                                const RequiredCollate& requiredCollate, bool actionByCode);

}  // namespace QueriesProcessing::MarkFragments
