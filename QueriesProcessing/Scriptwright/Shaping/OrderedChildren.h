#pragma once

#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The children of `parent` by ascending integer attribute `orderAttribute`
// (`defaultOrder` where it is missing); children of equal order keep their
// child order. Sort, paging and grouping entries are always read this way.
std::vector<VXNodePtr> GetOrderedChildren(const VXNodePtr& parent, std::u16string_view orderAttribute,
                                          int32_t defaultOrder);

}  // namespace QueriesProcessing
