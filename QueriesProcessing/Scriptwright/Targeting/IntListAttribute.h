#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// A list attribute read as 32-bit integers, in list order. A list of another
// element type is converted by the node library (a string list of "3", "7"
// gives 3, 7); an element that does not convert raises the library's status.
// Missing or of type 0: empty.
std::vector<int32_t> ReadIntList(const VXNodePtr& node, std::u16string_view name);

// Sets `name` to a list of 32-bit integers (type i32[]), replacing what
// stood there, whatever its type.
void WriteIntList(const VXNodePtr& node, std::u16string_view name, const std::vector<int32_t>& ids);

}  // namespace QueriesProcessing
