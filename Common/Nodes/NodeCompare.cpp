#include "Common/Nodes/NodeCompare.h"

#include <utility>
#include <vector>

namespace {

// The node itself, children aside.
bool SameNode(const VXNodePtr& first, const VXNodePtr& second) {
  if (first.TypeView() != second.TypeView() || first.NameView() != second.NameView()) return false;
  if (first.HasValue() != second.HasValue()) return false;
  if (first.HasValue() && first.GetValue() != second.GetValue()) return false;
  const std::vector<std::u16string> names = first.AttributeNames();
  if (names.size() != second.AttributeNames().size()) return false;
  // Names are unique within a node: equal counts and every name of the first
  // found equal in the second make the same set.
  for (const std::u16string& name : names) {
    if (!VXNodePtr::CompareAttribute(name, first, second, 0)) return false;
  }
  return first.ChildCount() == second.ChildCount();
}

}  // namespace

bool NodesEqual(const VXNodePtr& first, const VXNodePtr& second) {
  if (!first || !second) return !first && !second;
  std::vector<std::pair<VXNodePtr, VXNodePtr>> pending{{first, second}};
  while (!pending.empty()) {
    const auto [a, b] = std::move(pending.back());
    pending.pop_back();
    if (!SameNode(a, b)) return false;
    for (uint32_t i = 0, count = a.ChildCount(); i < count; ++i) {
      pending.emplace_back(a.ChildAt(i), b.ChildAt(i));
    }
  }
  return true;
}
