#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The last row delivered from one database: column name -> value. Empty
// means the database has no position yet, so the next page is its first.
using MarkEntry = std::unordered_map<std::u16string, std::u16string>;

// The positions a continuous search has reached, one per database, read once
// from the request and then asked per target database.
//
// Request items read:
//   Continuous         bool attribute, default false; false: no marks at all
//   Continuation_Mark  list attribute; each element one database's mark:
//                        <hash> ":" <name> ";" <Base64> { "," <name> ";" <Base64> }
//                      <hash> is DatabaseHash of the database's key, in decimal;
//                      a value is Base64 of its UTF-16LE bytes (an odd last
//                      byte is dropped). WriteMarkElement writes this form.
//   SortingRoot        optional child; every child's `Column` is required
//
// Reading:
//   - An element without ":" and an entry without ";" are skipped.
//   - "12345:" gives an entry with no columns: that database's first page.
//   - Of two elements with one hash the first stays; of a name twice in one
//     element the first value stays. An empty Base64 value is an empty value.
//   - The hash is read as std::stoull reads base 10 (leading blanks, a sign,
//     and text behind the digits are taken; "-1" is 2^64-1).
//
// Failures, all out of the constructor, before any text of the request is
// touched:
//   - a hash without digits: std::invalid_argument("invalid stoull argument");
//   - a hash beyond 64 bits: std::out_of_range("stoull argument out of range");
//   - a value that is no Base64: HRX 0x8007000D;
//   - a child of SortingRoot without `Column`: HRX 0x80070490.
// Traces at DBG: "No continuation mark" when the list is missing, "Mark:"
// and each element; per look-up "DB:<key> Hash:<hash>", then "Mark not found"
// or "Mark:" and the entry's RID ("0" without one).
//
// Built and read by one preparation; after the constructor it is only read,
// so concurrent readers are safe.
class CContinuationMark {
 public:
  explicit CContinuationMark(const VXNodePtr& request);

  // A copy of the entry of the database with this key (any case), or an
  // empty entry when the request holds no mark for it.
  MarkEntry GetMarkForDB(std::u16string_view dbKey) const;

  // The request's sort columns, "ActionCode" beside "What_Action", and "RID".
  const std::unordered_set<std::u16string>& Columns() const { return columns_; }

 private:
  void CollectColumns(const VXNodePtr& request);
  void ReadMarks(const VXNodePtr& request);
  void ReadElement(std::u16string_view element);

  std::unordered_map<uint64_t, MarkEntry> marks_;
  std::unordered_set<std::u16string> columns_;
};

}  // namespace QueriesProcessing
