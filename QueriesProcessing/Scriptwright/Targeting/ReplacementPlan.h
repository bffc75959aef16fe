#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace QueriesProcessing {

// A text split, once, at the places where a sequence of literal replacements
// falls, so that many copies can be written with different values without
// scanning the text again.
//
// The replacements are those of ReplaceAll (Common/Text.h) in a row: every
// occurrence of tokens[0] in the whole text by values[0], then every
// occurrence of tokens[1] in the result by values[1], and so on. So a value
// put in by one step is scanned by the later steps, and pieces of the text
// that meet around a value can form a later token. The plan is made for
// values that play no part in any later match; Admits tells whether given
// values are such. They are when each value that the text receives is not
// empty, holds neither the first nor the last character of any later
// token, and is no part of a later token: with tokens "%DB_NAME%", "%VIEW%"
// no name without "%" can make or break a match. Otherwise AppendInOrder
// does the replacements themselves on a copy of the text:
//
//   ReplacementPlan plan(u"FROM [%DB%].[%VIEW%]", tokens {u"%DB%", u"%VIEW%"});
//   plan.Append(out, values {u"Audit", u"vw_All"})
//     appends u"FROM [Audit].[vw_All]", the same as the two ReplaceAll calls.
//
// The constructor scans the text once for all tokens (an empty token
// replaces nothing). The text and the tokens are not copied: they must
// outlive the plan. Read-only after construction.
class ReplacementPlan {
 public:
  ReplacementPlan(std::u16string_view text, std::span<const std::u16string_view> tokens);

  // Whether AppendPlanned with `values` (one per token) gives exactly what
  // the replacements in a row give.
  bool Admits(std::span<const std::u16string_view> values) const;

  // The length of the text with `values` put in by the plan.
  size_t PlannedSize(std::span<const std::u16string_view> values) const;

  // Appends the text with `values` at the planned places: one copy of each
  // piece and each value, no scan.
  void AppendPlanned(std::u16string& out, std::span<const std::u16string_view> values) const;

  // Appends the result of the replacements in a row, done on a copy.
  void AppendInOrder(std::u16string& out, std::span<const std::u16string_view> values) const;

  // AppendPlanned when the plan admits `values`, else AppendInOrder.
  void Append(std::u16string& out, std::span<const std::u16string_view> values) const;

  // How many places take the value of token `index`.
  size_t Count(size_t index) const { return counts_[index]; }

 private:
  struct Slot {
    size_t position;
    size_t length;
    size_t token;
  };

  std::vector<std::vector<size_t>> FindOccurrences() const;
  void Claim(size_t token, const std::vector<size_t>& occurrences);

  std::u16string_view text_;
  std::vector<std::u16string_view> tokens_;
  std::vector<Slot> slots_;  // by position, none overlapping
  std::vector<size_t> counts_;
  size_t literalSize_ = 0;
  // Per token: the first and last units of the tokens behind it, and the
  // longest of their insides (a token without its two ends).
  std::vector<std::u16string> laterEnds_;
  std::vector<size_t> longestLaterInside_;
};

}  // namespace QueriesProcessing
