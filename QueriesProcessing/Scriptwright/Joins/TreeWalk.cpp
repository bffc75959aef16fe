#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"

#include <vector>

namespace QueriesProcessing {

namespace {

void PushChildren(const VXNodePtr& node, std::vector<VXNodePtr>& pending) {
  const uint32_t count = node.ChildCount();
  for (uint32_t i = count; i > 0; --i) pending.push_back(node.ChildAt(i - 1));
}

// In this node library a handle is the node's own address.
bool SameNode(const VXNodePtr& first, const VXNodePtr& second) {
  return first.get() == second.get();
}

}  // namespace

void WalkPreOrder(const VXNodePtr& root, bool includeRoot,
                  const std::function<void(const VXNodePtr&)>& visit) {
  std::vector<VXNodePtr> pending;
  if (includeRoot) {
    pending.push_back(root);
  } else {
    PushChildren(root, pending);
  }
  while (!pending.empty()) {
    const VXNodePtr node = std::move(pending.back());
    pending.pop_back();
    visit(node);
    PushChildren(node, pending);
  }
}

void RemoveAndPruneUpward(const VXNodePtr& node, const VXNodePtr& root) {
  VXNodePtr current = node;
  for (;;) {
    const VXNodePtr parent = current.Parent();
    if (!parent) return;
    parent.RemoveChild(current);
    if (SameNode(parent, root) || parent.ChildCount() != 0) return;
    current = parent;
  }
}

}  // namespace QueriesProcessing
