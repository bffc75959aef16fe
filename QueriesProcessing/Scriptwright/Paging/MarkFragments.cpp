#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

#include <bit>
#include <cstring>

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

static_assert(std::endian::native == std::endian::little, "HoldsToken reads UTF-16 units as bytes");

// Candidates for the first unit are found by memchr on its low byte; a hit at
// an odd offset is the high byte of some unit and is passed over.
bool HoldsToken(std::u16string_view text, std::u16string_view token) {
  if (token.empty()) return true;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const size_t end = text.size() * 2;
  for (size_t at = 0; at < end;) {
    const void* hit = std::memchr(bytes + at, token[0] & 0xFF, end - at);
    if (!hit) return false;
    const size_t offset = static_cast<size_t>(static_cast<const unsigned char*>(hit) - bytes);
    at = offset + 1;
    if (offset % 2 != 0) continue;
    const size_t index = offset / 2;
    if (text.size() - index < token.size()) return false;
    if (text.compare(index, token.size(), token) == 0) return true;
  }
  return false;
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
