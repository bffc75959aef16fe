#pragma once

// The deepest node tree the library accepts. The text form reader refuses a
// deeper document and the preparer component a deeper request, both with
// 0x8007000D, so every walk over a tree that got in recurses at most this far.
// A tree of a single node has depth 1.

#include <cstdint>

#include "Common/Nodes/VxnApi.h"

inline constexpr uint32_t kMaxTreeDepth = 1000;

// True when a path from `root` down holds more than `limit` nodes. Walks
// without recursion, so any tree a host builds can be measured; stops at the
// first path past the limit. A null root has depth 0.
bool TreeDeeperThan(HVXNODE root, uint32_t limit);
