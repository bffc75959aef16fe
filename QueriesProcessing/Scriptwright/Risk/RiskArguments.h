#pragma once

#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The argument list of one procedure call: for each argument node, in order,
// the attribute of `parameters` named by the node's value, written as SQL;
// the arguments joined by "," with no blank.
//
// An attribute that is missing, of type 0 (low byte 0), or a list without
// elements is NULL. Otherwise its values are read as text and written by the
// low byte of the type code:
//   1, 13 (GUID)       '{0DD265D7-9C92-4FC0-9CBE-32D691746561}'   quotes, "'" doubled
//   2 (string)         N'O''Brien'
//   3 to 6 (numbers)   42                                          as they stand
//   7 (boolean)        1 or 0                                      the number of the bit
//   any other code     N'...'
// A list (bit 256) writes each element so, joins them by "," and writes that
// text once more as N'...': the procedure gets one string in which the
// elements are quoted, i32[] [1,2] -> N'1,2', str[] ["a","b"] ->
// N'N''a'',N''b'''. Otherwise the argument is the value.
//
// An argument node with `plain_text` true (boolean, default false) writes
// every value as it stands, and a list as its values joined by ",", with no
// quotes at all: ["a","b"] -> a,b. That text is not escaped (it is the way
// for a token such as %TOP% to reach a later processor).
//
// Every separator is written, also around an empty plain text, so the call
// keeps its number of arguments. Raises the node library's failure when a
// value does not read as text.
std::u16string WriteRiskArguments(const std::vector<VXNodePtr>& arguments,
                                  const VXNodePtr& parameters);

}  // namespace QueriesProcessing
