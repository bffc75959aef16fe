#pragma once

// Layouts and conversions of attribute values, for the node library.

#include <cstdint>
#include <span>
#include <vector>

#include "Common/Nodes/VxnApi.h"

// True if `data` is a well-formed value of `type`: the fixed size of a
// scalar, whole elements of a list, terminators where text needs them.
bool VxnIsValidLayout(uint32_t type, std::span<const uint8_t> data);

// Converts a value between type codes. Numbers convert when the value fits,
// text to and from numbers, booleans ("true"/"false", "1"/"0") and GUIDs in
// any text form; a list converts element by element into another list.
// 0x8007000D when the value has no form in `to`.
HRESULT VxnConvertAttribute(uint32_t from, std::span<const uint8_t> data, uint32_t to,
                            std::vector<uint8_t>& out);
