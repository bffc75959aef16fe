#include "Common/Nodes/TreeDepth.h"

#include <utility>
#include <vector>

#include "Common/Nodes/VxnNode.h"

bool TreeDeeperThan(HVXNODE root, uint32_t limit) {
  if (!root) return false;
  // Each entry is a node and its depth; children are pushed as their parent
  // is popped, so the stack never holds more than the nodes seen so far.
  std::vector<std::pair<const VxnNode*, uint32_t>> pending{{root, 1}};
  while (!pending.empty()) {
    auto [node, depth] = pending.back();
    pending.pop_back();
    if (depth > limit) return true;
    for (const VxnNode* child : node->children) pending.emplace_back(child, depth + 1);
  }
  return false;
}
