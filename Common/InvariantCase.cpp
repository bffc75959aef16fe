#include "Common/InvariantCase.h"

#include <algorithm>

#include "Common/InvariantCaseTable.h"

namespace {

using InvariantCaseDetail::kUpperRunCount;
using InvariantCaseDetail::kUpperRuns;
using InvariantCaseDetail::UpperRun;

char16_t UpperFromTable(char16_t unit) {
  const UpperRun* end = kUpperRuns + kUpperRunCount;
  // The last run that starts at or before `unit` is the only one that can hold it.
  const UpperRun* run = std::upper_bound(kUpperRuns, end, unit,
                                         [](char16_t u, const UpperRun& r) { return u < r.first; });
  if (run == kUpperRuns) return unit;
  --run;
  if (unit > run->last || (unit - run->first) % run->step != 0) return unit;
  return static_cast<char16_t>(unit + run->delta);
}

}  // namespace

char16_t InvariantUpper(char16_t unit) {
  if (unit < 0x80)
    return (unit >= u'a' && unit <= u'z') ? static_cast<char16_t>(unit - 0x20) : unit;
  return UpperFromTable(unit);
}

std::u16string InvariantUpper(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& unit : out) unit = InvariantUpper(unit);
  return out;
}
