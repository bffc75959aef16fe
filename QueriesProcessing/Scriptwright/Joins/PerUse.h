#pragma once

#include <string>
#include <string_view>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Common/NodeConversions.h"

namespace QueriesProcessing {

// Settings that a command's `variable_processor` node may override for one
// use of a processor. A null variable node overrides nothing.

// The variable node's string attribute `name`, or `stored` when the node or
// the attribute is missing (type 0 counts as missing).
std::u16string PerUseString(const VXNodePtr& variable, std::u16string_view name,
                            const std::u16string& stored);

// A table built afresh from the variable node's child `NodeConversion` when
// it has one, else a copy of `stored` (copies share the read-only rules).
NodeConversions PerUseConversions(const VXNodePtr& variable, const NodeConversions& stored);

}  // namespace QueriesProcessing
