#pragma once

#include <string_view>

#include "Common/Guid.h"
#include "Common/Nodes/VXNodePtr.h"

// GUIDs as the risk assessment processor reads and writes them on nodes.
// Reading goes through text: a GUID attribute (type 13) reads as its format 0
// text, and a string may hold any of the four forms in either case. A text
// that is no GUID raises HRX 0x80070057 naming it.
namespace QueriesProcessing {

GUID ReadGuidText(std::u16string_view text);

// The elements of a list attribute (guid[] or str[]), as an ordered set.
// Of type 0: empty. Missing: empty, or with `required` HRX 0x80070490.
GuidSet ReadGuidSet(const VXNodePtr& node, std::u16string_view name, bool required);

// Sets `name` to a GUID list (type 269) of `ids`, in the set's order.
void SetGuidList(const VXNodePtr& node, std::u16string_view name, const GuidSet& ids);

// The GUIDs of both sets, in their order.
GuidSet Intersect(const GuidSet& first, const GuidSet& second);

}  // namespace QueriesProcessing
