#include "QueriesProcessing/Scriptwright/Targeting/ReplacementPlan.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

static_assert(std::endian::native == std::endian::little, "FindUnit reads UTF-16 units as bytes");

// The first `unit` at or behind `from`. Candidates are found by memchr on the
// unit's low byte, much faster than a loop over units on a long text; a hit
// at an odd offset is the high byte of some unit and is passed over.
size_t FindUnit(std::u16string_view text, char16_t unit, size_t from) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const size_t end = text.size() * 2;
  for (size_t at = from * 2; at < end;) {
    const void* hit = std::memchr(bytes + at, unit & 0xFF, end - at);
    if (!hit) break;
    const size_t offset = static_cast<size_t>(static_cast<const unsigned char*>(hit) - bytes);
    at = offset + 1;
    if (offset % 2 == 0 && text[offset / 2] == unit) return offset / 2;
  }
  return std::u16string_view::npos;
}

}  // namespace

ReplacementPlan::ReplacementPlan(std::u16string_view text,
                                 std::span<const std::u16string_view> tokens)
    : text_(text),
      tokens_(tokens.begin(), tokens.end()),
      counts_(tokens.size(), 0),
      laterEnds_(tokens.size()),
      longestLaterInside_(tokens.size(), 0) {
  const std::vector<std::vector<size_t>> occurrences = FindOccurrences();
  for (size_t token = 0; token < tokens_.size(); ++token) Claim(token, occurrences[token]);
  literalSize_ = text_.size();
  for (const Slot& slot : slots_) {
    literalSize_ -= slot.length;
    ++counts_[slot.token];
  }
  for (size_t token = 0; token < tokens_.size(); ++token) {
    for (size_t later = token + 1; later < tokens_.size(); ++later) {
      const std::u16string_view wanted = tokens_[later];
      if (wanted.empty()) continue;
      for (char16_t end : {wanted.front(), wanted.back()}) {
        if (laterEnds_[token].find(end) == std::u16string::npos) laterEnds_[token] += end;
      }
      if (wanted.size() > 2) {
        longestLaterInside_[token] = std::max(longestLaterInside_[token], wanted.size() - 2);
      }
    }
  }
}

// One pass over the text: every place where any token begins, overlapping
// ones included, since which of them a replacement takes is decided later.
std::vector<std::vector<size_t>> ReplacementPlan::FindOccurrences() const {
  std::vector<std::vector<size_t>> occurrences(tokens_.size());
  std::u16string firsts;
  for (std::u16string_view token : tokens_) {
    if (!token.empty() && firsts.find(token.front()) == std::u16string::npos)
      firsts += token.front();
  }
  if (firsts.empty()) return occurrences;
  auto next = [&](size_t from) {
    return firsts.size() == 1 ? FindUnit(text_, firsts.front(), from)
                              : text_.find_first_of(firsts, from);
  };
  for (size_t at = next(0); at != std::u16string_view::npos; at = next(at + 1)) {
    for (size_t token = 0; token < tokens_.size(); ++token) {
      const std::u16string_view wanted = tokens_[token];
      if (!wanted.empty() && text_.size() - at >= wanted.size() &&
          std::memcmp(text_.data() + at, wanted.data(), wanted.size() * sizeof(char16_t)) == 0) {
        occurrences[token].push_back(at);
      }
    }
  }
  return occurrences;
}

// What ReplaceAll of this token takes after the earlier tokens: the leftmost
// occurrence, then the next one behind it, skipping occurrences that overlap
// text an earlier token has already taken (that text is a value by then,
// which by the plan's premise matches nothing).
void ReplacementPlan::Claim(size_t token, const std::vector<size_t>& occurrences) {
  const size_t length = tokens_[token].size();
  std::vector<Slot> taken;
  size_t searchFrom = 0;
  size_t earlier = 0;
  for (size_t at : occurrences) {
    if (at < searchFrom) continue;
    while (earlier < slots_.size() && slots_[earlier].position + slots_[earlier].length <= at) {
      ++earlier;
    }
    if (earlier < slots_.size() && slots_[earlier].position < at + length) continue;
    taken.push_back({at, length, token});
    searchFrom = at + length;
  }
  if (taken.empty()) return;
  std::vector<Slot> merged;
  merged.reserve(slots_.size() + taken.size());
  std::merge(slots_.begin(), slots_.end(), taken.begin(), taken.end(), std::back_inserter(merged),
             [](const Slot& a, const Slot& b) { return a.position < b.position; });
  slots_.swap(merged);
}

// A value stays apart from a later token when no occurrence of the token
// can begin in it, end in it or hold it whole: it is not empty, holds no
// first or last unit of a later token, and is no part of one (only a value
// shorter than the token by two can be, once it lacks both ends).
bool ReplacementPlan::Admits(std::span<const std::u16string_view> values) const {
  for (size_t token = 0; token < tokens_.size(); ++token) {
    if (counts_[token] == 0 || laterEnds_[token].empty()) continue;
    const std::u16string_view value = values[token];
    if (value.empty() || value.find_first_of(laterEnds_[token]) != std::u16string_view::npos) {
      return false;
    }
    if (value.size() > longestLaterInside_[token]) continue;
    for (size_t later = token + 1; later < tokens_.size(); ++later) {
      if (tokens_[later].find(value) != std::u16string_view::npos) return false;
    }
  }
  return true;
}

size_t ReplacementPlan::PlannedSize(std::span<const std::u16string_view> values) const {
  size_t size = literalSize_;
  for (size_t token = 0; token < tokens_.size(); ++token)
    size += counts_[token] * values[token].size();
  return size;
}

void ReplacementPlan::AppendPlanned(std::u16string& out,
                                    std::span<const std::u16string_view> values) const {
  size_t from = 0;
  for (const Slot& slot : slots_) {
    out.append(text_.substr(from, slot.position - from));
    out.append(values[slot.token]);
    from = slot.position + slot.length;
  }
  out.append(text_.substr(from));
}

void ReplacementPlan::AppendInOrder(std::u16string& out,
                                    std::span<const std::u16string_view> values) const {
  std::u16string copy(text_);
  for (size_t token = 0; token < tokens_.size(); ++token)
    ReplaceAll(copy, tokens_[token], values[token]);
  out.append(copy);
}

void ReplacementPlan::Append(std::u16string& out,
                             std::span<const std::u16string_view> values) const {
  if (Admits(values)) {
    AppendPlanned(out, values);
  } else {
    AppendInOrder(out, values);
  }
}

}  // namespace QueriesProcessing
