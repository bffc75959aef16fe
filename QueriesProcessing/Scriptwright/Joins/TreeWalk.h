#pragma once

#include <functional>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// Visits the subtree of `root` depth first, a node before its children and
// children in child order; `root` itself only when `includeRoot`. A node's
// children are read right after the node was visited, so the visit may
// rewrite the node's attributes and its children before they are walked.
// Nodes the visit adds elsewhere are not visited; nodes it detaches after
// they were read still are. Uses no recursion, so any depth is safe.
void WalkPreOrder(const VXNodePtr& root, bool includeRoot,
                  const std::function<void(const VXNodePtr&)>& visit);

// Takes `node` out of its parent, and then every ancestor that this leaves
// without children, upward; stops below `root`, which stays where it is, and
// at a node without parent. Nothing happens to a node without parent.
void RemoveAndPruneUpward(const VXNodePtr& node, const VXNodePtr& root);

}  // namespace QueriesProcessing
