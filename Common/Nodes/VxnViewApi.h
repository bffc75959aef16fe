#pragma once

// The node library's operations for C++ callers, with names and texts as
// views: no terminated copy is made and nothing is allocated to look a name
// up. They behave as the operations of the same name without the N in
// VxnApi.h (which take terminated texts and remain the library's interface
// for C callers), with these differences:
//
//   - A name is the whole view. One that holds U+0000 can name nothing the
//     library stores (its names are terminated texts): a look-up with it
//     finds nothing (0x80070490), and a setter that would add it, or set a
//     node's name, type or value to such a text, gives 0x80070057. Looking
//     a name up never scans it for U+0000.
//   - Texts the library stores are handed out as views, valid until the
//     node's name, type or value (for the Get...N text operations) or the
//     node's attributes (for VxnPeekAttributeN) change, or the node ends.
//
// Like the rest of the library: one tree is used by one thread at a time.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "Common/Nodes/VxnApi.h"

// A new node; an empty view leaves the type or the name absent.
HRESULT VxnCreateNodeN(std::u16string_view type, std::u16string_view name, HVXNODE* node);

// Views of the node's name, type and value; 0x80070490 when absent.
HRESULT VxnGetNodeNameN(HVXNODE node, std::u16string_view* name);
HRESULT VxnGetNodeTypeN(HVXNODE node, std::u16string_view* type);
HRESULT VxnGetNodeValueN(HVXNODE node, std::u16string_view* value);
// Sets them; a text holding U+0000 is 0x80070057.
HRESULT VxnSetNodeNameN(HVXNODE node, std::u16string_view name);
HRESULT VxnSetNodeTypeN(HVXNODE node, std::u16string_view type);
HRESULT VxnSetNodeValueN(HVXNODE node, std::u16string_view value);

HRESULT VxnGetChildByNameN(HVXNODE node, std::u16string_view name, HVXNODE* child);

// The stored type code of an attribute and its value in the layout of that
// type, without a copy or a conversion. A string's bytes end with its
// terminator, so its text is the first size / 2 - 1 units.
HRESULT VxnPeekAttributeN(HVXNODE node, std::u16string_view name, uint32_t* type,
                          std::span<const uint8_t>* data);
HRESULT VxnGetAttributeN(HVXNODE node, std::u16string_view name, uint32_t* type, void* buffer,
                         uint32_t* size, uint32_t options);
HRESULT VxnSetAttributeN(HVXNODE node, std::u16string_view name, uint32_t type, const void* data,
                         uint32_t size);
// Sets a string attribute (type 2) to `value`, which may hold U+0000.
HRESULT VxnSetStringAttributeN(HVXNODE node, std::u16string_view name, std::u16string_view value);
// The same, taking over `value`'s memory instead of copying its text. On
// failure `value` is left as it was.
HRESULT VxnTakeStringAttributeN(HVXNODE node, std::u16string_view name, std::u16string&& value);
HRESULT VxnDeleteAttributeN(HVXNODE node, std::u16string_view name, uint32_t options);
