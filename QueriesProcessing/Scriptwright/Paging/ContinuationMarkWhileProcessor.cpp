#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkWhileProcessor.h"

#include <utility>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

using MarkFragments::AppendMarkLiteral;
using MarkFragments::Column;
using MarkFragments::Direction;
using MarkFragments::DirectionOperator;
using MarkFragments::kRowId;
using MarkFragments::kWhatAction;

namespace {

constexpr std::u16string_view kNextCondition =
    u"WHERE\n%CMARK_IJ_COND_START%(%CONDITION_PRODUCT_ID%) AND (%CONDITION%) AND "
    u"(%ACCESS_FILTER%)%CMARK_IJ_COND_END% AND (%CMARK_ND_COND%)\n";

constexpr std::u16string_view kActionsJoin =
    u"INNER JOIN [Actions]\nON [NextData].[What_Action] = [Actions].[What]\n";

using Replacements = std::vector<std::pair<std::u16string_view, std::u16string>>;

const VXNodePtr* FirstNonRowId(const std::vector<VXNodePtr>& entries) {
  for (const auto& entry : entries) {
    if (Column(entry) != kRowId) return &entry;
  }
  return nullptr;
}

// Without a non-RID entry the name is whatever column was read last, as the
// loop that looks for one leaves it.
std::u16string NameField(const std::vector<VXNodePtr>& entries) {
  std::u16string c;
  for (const auto& entry : entries) {
    c = Column(entry);
    if (c == kRowId) continue;
    return c == kWhatAction ? std::u16string(u"[Actions].[What_Action]")
                            : u"[NextData].[" + c + u"]";
  }
  return c;
}

void AddPlainSortValues(const std::vector<VXNodePtr>& entries, Replacements& replacements) {
  const VXNodePtr* first = FirstNonRowId(entries);
  const VXNodePtr* orderEntry = first ? first : (entries.empty() ? nullptr : &entries.back());
  const std::u16string column = orderEntry ? Column(*orderEntry) : std::u16string();
  std::u16string order;
  if (orderEntry) {
    order.append(u"ORDER BY [").append(column).append(u"] ").append(Direction(*orderEntry));
  }
  replacements.emplace_back(u"%CMARK_NEXT_CONDITION_ORDER%", std::move(order));
  replacements.emplace_back(u"%CMARK_DISTINCT_FIELD%", u"[" + column + u"]");
  replacements.emplace_back(u"%SELECT_TOP_ACTION%", u"");
}

void AddActionSortValues(const std::vector<VXNodePtr>& entries, Replacements& replacements) {
  std::u16string order = u"ORDER BY ";
  for (const auto& entry : entries) {
    if (Column(entry) == kWhatAction) {
      order.append(u"[Actions].[What_Action] ").append(Direction(entry));
    }
  }
  replacements.emplace_back(u"%CMARK_NEXT_CONDITION_ORDER%", std::move(order));
  // The T-SQL variable @What_ActionInt takes the action's number.
  replacements.emplace_back(u"%SELECT_TOP_ACTION%",
                            u", @What_ActionInt = [NextData].[What_Action]");
  replacements.emplace_back(u"%CMARK_DISTINCT_FIELD%", u"[Actions].[What_Action]");
}

}  // namespace

ContinuationMarkWhileProcessor::ContinuationMarkWhileProcessor(const VXNodePtr& config)
    : strategies_(config) {}

std::u16string ContinuationMarkWhileProcessor::NextCondition(const std::vector<VXNodePtr>& entries,
                                                             const MarkEntry& markEntry,
                                                             bool withJoin) const {
  std::u16string condition;
  if (markEntry.empty()) {
    condition = u"(1=1)";
  } else {
    condition.reserve(entries.size() * 64 + 8);
    for (const auto& entry : entries) {
      const std::u16string c = Column(entry);
      if (c == kRowId) continue;
      condition.append(withJoin && c == kWhatAction ? u"([Actions].[What_Action]"
                                                    : u"([NextData].[" + c + u"]");
      condition.append(u" ").append(DirectionOperator(entry)).append(u" ");
      AppendMarkLiteral(condition, markEntry, c);
      condition.append(MarkFragments::CollateSuffix(strategies_.RequiredCollate(), c))
          .append(u") AND ");
    }
    condition.append(u"(1=1)");
  }
  std::u16string text;
  text.reserve(kActionsJoin.size() + kNextCondition.size() + condition.size());
  if (withJoin) text.append(kActionsJoin);
  text.append(kNextCondition);
  ReplaceAll(text, u"%CMARK_ND_COND%", condition);
  return text;
}

HRESULT ContinuationMarkWhileProcessor::ProcessNode(
    const VXNodePtr& request, std::u16string_view dbKey, std::u16string& text,
    const std::shared_ptr<const CContinuationMark>& mark) const {
  VX_LOG_SCOPE(Severity::DBG2, "ContinuationMarkWhileProcessor::ProcessNode");
  return OperationFrame("ContinuationMarkWhileProcessor::ProcessNode", [&] {
    const VXNodePtr sortingRoot = request.GetChild(u"SortingRoot", true);
    const MarkEntry markEntry = mark ? mark->GetMarkForDB(dbKey) : MarkEntry();
    const std::vector<VXNodePtr> entries = GetOrderedChildren(sortingRoot, u"Order", 0);
    const IMarkSorting& sorting = strategies_.Choose(entries);
    const bool byAction = MarkFragments::SortsByAction(entries);
    const bool light = request.GetString(u"Query_Template_Name") ==
                       u"query_all_data_by_rid_with_cm_sort_while_light_with_classes";

    // Every value first: whatever fails, fails before the text is touched.
    Replacements replacements;
    replacements.reserve(12);
    replacements.emplace_back(u"%CMARK_NAME_FIELD%", NameField(entries));
    replacements.emplace_back(u"%CMARK_CURRENT_DATA%",
                              sorting.BuildCurrentData(entries, markEntry, light));
    if (!byAction) {
      replacements.emplace_back(u"%CMARK_NAME_FIELD_INS%", NameField(entries));
      replacements.emplace_back(u"%CMARK_NEXT_CONDITION%",
                                NextCondition(entries, markEntry, false));
      AddPlainSortValues(entries, replacements);
    } else {
      replacements.emplace_back(u"%CMARK_NAME_FIELD_INS%",
                                u"[NextData].[" + Column(*FirstNonRowId(entries)) + u"]");
      replacements.emplace_back(u"%CMARK_NEXT_CONDITION%", NextCondition(entries, markEntry, true));
      AddActionSortValues(entries, replacements);
    }
    replacements.emplace_back(u"%WHILE_NEXT_DATA_JOIN%", u"");
    replacements.emplace_back(u"%CMARK_VIEW_NAME%",
                              light ? MarkFragments::kLightView : u"%VIEW_NAME%");
    const VXNodePtr* first = FirstNonRowId(entries);
    replacements.emplace_back(u"%CMARK_OPERATOR%", first ? DirectionOperator(*first) : u" = ");
    for (const auto& [token, value] : replacements) ReplaceAll(text, token, value);
  });
}

}  // namespace QueriesProcessing
