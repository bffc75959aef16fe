#pragma once

#include <cstddef>
#include <cstdint>

// The table behind InvariantUpper, written by scripts/gen-invariant-case.py
// into InvariantCaseTable.cpp. Not for use outside InvariantCase.cpp.
namespace InvariantCaseDetail {

// Every unit from `first` to `last` in steps of `step` (1 or 2) maps to the
// unit plus `delta`; units between the steps are not mapped by this run.
struct UpperRun {
  uint16_t first;
  uint16_t last;
  uint8_t step;
  int32_t delta;
};

// Disjoint runs, sorted by `first`.
extern const UpperRun kUpperRuns[];
extern const size_t kUpperRunCount;

}  // namespace InvariantCaseDetail
