#pragma once

#include <cstdint>

// The program's operator new counts every allocation, so that a benchmark
// can report allocations per item beside its time. Link CountingAllocator.cpp
// into the program that includes this.
uint64_t AllocationsSoFar();
