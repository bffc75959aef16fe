#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

#include "Common/ErrorHandling.h"

namespace QueriesProcessing::MarkFragments {

RequiredCollate ReadRequiredCollate(const VXNodePtr& config) {
  RequiredCollate requiredCollate;
  config.ForEachChild([&](const VXNodePtr& child) {
    if (child.GetType() != u"MarkEntry") return;
    std::u16string name = child.GetString(u"Name");
    const bool collate = child.GetBool(u"RequiredCollate");
    requiredCollate.try_emplace(std::move(name), collate);
  });
  return requiredCollate;
}

std::u16string Column(const VXNodePtr& entry) { return entry.GetString(u"Column"); }

std::u16string Direction(const VXNodePtr& entry) { return entry.GetString(u"Direction"); }

bool SortsByAction(const std::vector<VXNodePtr>& entries) {
  for (const auto& entry : entries) {
    if (Column(entry) == kWhatAction) return true;
  }
  return false;
}

std::u16string_view DirectionOperator(const VXNodePtr& entry) {
  return Direction(entry) == u"ASC" ? u">" : u"<";
}

void AppendMarkLiteral(std::u16string& out, const MarkEntry& markEntry,
                       std::u16string_view column) {
  if (column != kRowId) out += u'N';
  out += u'\'';
  const auto found = markEntry.find(std::u16string(column));
  if (found != markEntry.end()) {
    for (char16_t c : found->second) {
      if (c == u'\'') out += u'\'';
      out += c;
    }
  }
  out += u'\'';
}

std::u16string_view CollateSuffix(const RequiredCollate& requiredCollate,
                                  std::u16string_view column) {
  const auto found = requiredCollate.find(std::u16string(column));
  if (found == requiredCollate.end()) {
    ThrowError(E_INVALIDARG, u": the sort column is no MarkEntry: " + std::u16string(column));
  }
  return found->second ? u" COLLATE database_default " : u"";
}

std::u16string CurrentCondition(const std::vector<VXNodePtr>& entries, const MarkEntry& markEntry,
                                const RequiredCollate& requiredCollate, bool actionByCode) {
  if (markEntry.empty()) return u"(2=1)";
  std::u16string condition;
  condition.reserve(entries.size() * 64 + 8);
  for (const auto& entry : entries) {
    const std::u16string c = Column(entry);
    const bool rowId = c == kRowId;
    condition.append(u"([CurrentData].[").append(c).append(u"] ");
    condition.append(rowId ? DirectionOperator(entry) : u"=").append(u" ");
    AppendMarkLiteral(condition, markEntry, actionByCode && c == kWhatAction ? u"ActionCode" : c);
    if (!rowId) condition.append(CollateSuffix(requiredCollate, c));
    condition.append(u") AND ");
  }
  condition.append(u"(1=1)");
  return condition;
}

}  // namespace QueriesProcessing::MarkFragments
