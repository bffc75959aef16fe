#pragma once

#include <string>
#include <string_view>

namespace QueriesProcessing {

// The clean-up of a command's SQL text: removes every tab, then every pair of
// spaces, as if "  " were deleted from the start again and again. A run of an
// even number of spaces vanishes, an odd one leaves one space; tabs inside a
// run do not split it. Line breaks stay.
//   "SELECT  1" -> "SELECT1"   "SELECT   1" -> "SELECT 1"   "A \t B" -> "AB"
//
// One pass. Where the processor has SSSE3 (checked once, at run time) the
// text is read 16 units at a time and the units to keep are moved together by
// shuffles; elsewhere it goes unit by unit.
std::u16string CleanCommandText(std::u16string_view text);

}  // namespace QueriesProcessing
