#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QueriesProcessing {

// One column of the last row delivered from a database, and its value.
using MarkColumn = std::pair<std::u16string, std::u16string>;

// Writes one element of a request's `Continuation_Mark` list, the form that
// CContinuationMark reads:
//
//   <DatabaseHash(dbKey) in decimal> ":" <name> ";" <Base64 of the value's
//   UTF-16LE bytes> { "," <name> ";" <Base64> }
//
//   WriteMarkElement(u"[AUDIT]", {{u"RID", u"1"}})  ->  u"<hash>:RID;MQA="
//
// `dbKey` is the database's bracketed name in any case. The columns are
// written in the given order; a reader keeps the first of a repeated name. A
// mark for the paging templates holds "RID" and every sort column (for a sort
// by "What_Action" also "ActionCode", the action's number). With no columns
// the element reads as the database's first page.
//
// Fails with 0x80070057 when a name holds "," or ";", which the reader could
// not take apart again. Pure and thread-safe.
std::u16string WriteMarkElement(std::u16string_view dbKey, const std::vector<MarkColumn>& columns);

}  // namespace QueriesProcessing
