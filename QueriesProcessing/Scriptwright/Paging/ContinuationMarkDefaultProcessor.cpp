#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkDefaultProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kToken = u"%CONDITION_CMARK%";

}  // namespace

ContinuationMarkDefaultProcessor::ContinuationMarkDefaultProcessor(const VXNodePtr& config)
    : continuation_mark_column(config.GetString(u"continuation_mark_column")) {}

HRESULT ContinuationMarkDefaultProcessor::ProcessNode(
    const VXNodePtr&, std::u16string_view dbKey, std::u16string& text,
    const std::shared_ptr<const CContinuationMark>& mark) const {
  VX_LOG_SCOPE(Severity::DBG2, "ContinuationMarkDefaultProcessor::ProcessNode");
  return OperationFrame("ContinuationMarkDefaultProcessor::ProcessNode", [&] {
    if (!MarkFragments::HoldsToken(text, kToken)) return;
    const MarkEntry entry = mark ? mark->GetMarkForDB(dbKey) : MarkEntry();
    const auto rid = entry.find(u"RID");
    std::u16string condition;
    condition.reserve(continuation_mark_column.size() + 32);
    condition.append(u"[").append(continuation_mark_column).append(u"] > '");
    condition.append(rid == entry.end() ? std::u16string_view(u"0")
                                        : std::u16string_view(rid->second));
    condition.append(u"'");
    ReplaceAll(text, kToken, condition);
  });
}

}  // namespace QueriesProcessing
