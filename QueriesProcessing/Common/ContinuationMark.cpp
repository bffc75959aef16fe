#include "QueriesProcessing/Common/ContinuationMark.h"

#include <stdexcept>
#include <vector>

#include "Common/Helpers/Base64.h"
#include "Common/LogScope.h"
#include "Common/Logger.h"
#include "QueriesProcessing/Common/DatabaseHash.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kRowId = u"RID";

bool IsBlank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// The marks' writer may be any program, and the standard conversion is what
// it was promised: blanks and a sign in front, anything behind the digits
// ignored, a negative number taken modulo 2^64. The failure texts are those
// the standard library of the marks' home platform raises, since callers see
// them as the request's error text.
uint64_t ReadHash(std::u16string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
  const size_t digits = i;
  uint64_t value = 0;
  bool overflow = false;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    const uint64_t digit = text[i] - u'0';
    if (value > (UINT64_MAX - digit) / 10) overflow = true;
    value = value * 10 + digit;
  }
  if (i == digits) throw std::invalid_argument("invalid stoull argument");
  if (overflow) throw std::out_of_range("stoull argument out of range");
  return negative ? 0 - value : value;
}

std::u16string DecodeValue(std::u16string_view base64) {
  const std::vector<uint8_t> bytes = Base64Decode(base64);
  std::u16string value(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < value.size(); ++i) {
    value[i] = static_cast<char16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  }
  return value;
}

MarkEntry ReadEntry(std::u16string_view entries) {
  MarkEntry entry;
  for (size_t start = 0; start <= entries.size();) {
    size_t comma = entries.find(u',', start);
    if (comma == std::u16string_view::npos) comma = entries.size();
    const std::u16string_view piece = entries.substr(start, comma - start);
    const size_t semicolon = piece.find(u';');
    if (semicolon != std::u16string_view::npos) {
      entry.try_emplace(std::u16string(piece.substr(0, semicolon)),
                        DecodeValue(piece.substr(semicolon + 1)));
    }
    start = comma + 1;
  }
  return entry;
}

std::u16string_view RowIdForTrace(const MarkEntry& entry) {
  const auto rid = entry.find(std::u16string(kRowId));
  return rid == entry.end() ? std::u16string_view(u"0") : std::u16string_view(rid->second);
}

}  // namespace

CContinuationMark::CContinuationMark(const VXNodePtr& request) {
  VX_LOG_SCOPE(Severity::DBG, "CContinuationMark::CContinuationMark");
  CollectColumns(request);
  ReadMarks(request);
}

void CContinuationMark::CollectColumns(const VXNodePtr& request) {
  if (const VXNodePtr sortingRoot = request.GetChild(u"SortingRoot")) {
    sortingRoot.ForEachChild([&](const VXNodePtr& entry) {
      std::u16string column = entry.GetString(u"Column");
      if (column == u"What_Action") columns_.insert(u"ActionCode");
      columns_.insert(std::move(column));
    });
  }
  columns_.insert(std::u16string(kRowId));
}

void CContinuationMark::ReadMarks(const VXNodePtr& request) {
  if (!request.GetBool(u"Continuous", false)) return;
  if (!request.HasAttribute(u"Continuation_Mark")) {
    VX_LOG(Severity::DBG, u"No continuation mark");
    return;
  }
  for (const std::u16string& element : request.GetStringList(u"Continuation_Mark", true)) {
    VX_LOG(Severity::DBG, u"Mark:" << element);
    ReadElement(element);
  }
}

void CContinuationMark::ReadElement(std::u16string_view element) {
  const size_t colon = element.find(u':');
  if (colon == std::u16string_view::npos) return;
  MarkEntry entry = ReadEntry(element.substr(colon + 1));
  marks_.try_emplace(ReadHash(element.substr(0, colon)), std::move(entry));
}

MarkEntry CContinuationMark::GetMarkForDB(std::u16string_view dbKey) const {
  VX_LOG_SCOPE(Severity::DBG2, "CContinuationMark::GetMarkForDB");
  const uint64_t hash = DatabaseHash(dbKey);
  VX_LOG(Severity::DBG, u"DB:" << dbKey << u" Hash:" << hash);
  const auto found = marks_.find(hash);
  if (found == marks_.end()) {
    VX_LOG(Severity::DBG, u"Mark not found");
    return {};
  }
  VX_LOG(Severity::DBG, u"Mark:" << RowIdForTrace(found->second));
  return found->second;
}

}  // namespace QueriesProcessing
