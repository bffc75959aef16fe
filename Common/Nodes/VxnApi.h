#pragma once

// The node library: C-style operations over opaque node handles. Every
// operation returns a status: 0 on success, 0x80070490 for an absent item,
// 0x8007007A when a buffer is too small (the size needed is written back),
// 0x80070057 for a null or invalid argument.
//
// A node has an optional type, an optional name, an optional value (a
// string), ordered children, at most one parent, and named attributes kept in
// insertion order, each with a type code (VxnType). A handle keeps its node
// alive; so does the node's parent. Duplicating a handle gives a second
// handle of the same node. Nodes are not thread-safe: one tree is used by one
// thread at a time, though handles may be duplicated and closed from any.

#include <cstdint>

using HRESULT = int32_t;

struct VxnNode;
using HVXNODE = VxnNode*;

// Attribute type codes. Bit 256 marks a list of the lower type.
enum VxnType : uint32_t {
  VXN_EMPTY = 0,      // no value, size 0
  VXN_STRING = 2,     // UTF-16, terminator included: (length + 1) * 2 bytes
  VXN_INT32 = 3,
  VXN_UINT32 = 4,
  VXN_UINT64 = 5,
  VXN_INT64 = 6,
  VXN_BOOL = 7,       // one byte, 0 or 1
  VXN_GUID = 13,      // 16 bytes, platform layout
  VXN_LIST = 256,
  VXN_STRING_LIST = VXN_LIST | VXN_STRING,  // strings each terminated, plus one terminator
  VXN_INT32_LIST = VXN_LIST | VXN_INT32,
  VXN_UINT32_LIST = VXN_LIST | VXN_UINT32,
  VXN_UINT64_LIST = VXN_LIST | VXN_UINT64,
  VXN_INT64_LIST = VXN_LIST | VXN_INT64,
  VXN_BOOL_LIST = VXN_LIST | VXN_BOOL,
  VXN_GUID_LIST = VXN_LIST | VXN_GUID,
};

// True for the codes above.
bool VxnIsKnownType(uint32_t type);

// Serialisation formats. Only the text form (an XML document, see
// docs/node-text-format.md) is provided.
enum _EnumVXNSerializationType : uint32_t {
  VXN_SERIALIZATION_TEXT = 1,
};

// Flags of the text form.
enum VxnTextFlags : uint32_t {
  VXN_TEXT_INDENT = 1,            // one element a line, indented
  VXN_TEXT_NO_DECLARATION = 256,  // no "<?xml ...?>" line
};

using HVXNSERIALIZER = struct VxnSerializationContext*;
using HVXNDESERIALIZER = struct VxnDeserializationContext*;

// Receives `size` bytes of output; a failing status stops the serialisation.
using VxnWriteCallback = HRESULT (*)(void* context, const void* data, uint32_t size);
// Fills up to `size` bytes and reports how many in `read`; 0 read means the end.
using VxnReadCallback = HRESULT (*)(void* context, void* buffer, uint32_t size, uint32_t* read);

extern "C" {

HRESULT VxnCreateNode(const char16_t* type, const char16_t* name, HVXNODE* node);
HRESULT VxnCloseNodeHandle(HVXNODE node);
HRESULT VxnDuplicateNodeHandle(HVXNODE node, HVXNODE* duplicate);
// Depth 0 copies the node with its attributes (type, name and value too);
// 0x7fffffff the whole subtree. The copy has no parent. Flags are 0.
// Neither cloning nor closing the last handle of a tree recurses, so trees
// of any depth are safe here (the text form reader accepts 1000 levels at
// most, but hosts build trees in code). 0x8007000E when memory runs out.
HRESULT VxnCloneNode(HVXNODE node, uint32_t depth, uint32_t flags, HVXNODE* clone);

// `size` is in characters, terminator included. An absent name or type is
// 0x80070490. A null text clears it.
HRESULT VxnGetNodeName(HVXNODE node, char16_t* buffer, uint32_t* size);
HRESULT VxnGetNodeType(HVXNODE node, char16_t* buffer, uint32_t* size);
HRESULT VxnGetNodeValue(HVXNODE node, char16_t* buffer, uint32_t* size);
HRESULT VxnSetNodeName(HVXNODE node, const char16_t* name);
HRESULT VxnSetNodeType(HVXNODE node, const char16_t* type);
HRESULT VxnSetNodeValue(HVXNODE node, const char16_t* value);

HRESULT VxnGetParent(HVXNODE node, HVXNODE* parent);
// Appends `child` as the last child; a child that has a parent is moved.
// Adding a node under itself or under one of its descendants is 0x80070057.
HRESULT VxnAddChild(HVXNODE parent, HVXNODE child);
HRESULT VxnRemoveChild(HVXNODE parent, HVXNODE child);
HRESULT VxnRemoveChildByIndex(HVXNODE parent, uint32_t index);
HRESULT VxnGetChildCount(HVXNODE node, uint32_t* count);
HRESULT VxnGetChildByIndex(HVXNODE node, uint32_t index, HVXNODE* child);
// The first child whose node name is `name`.
HRESULT VxnGetChildByName(HVXNODE node, const char16_t* name, HVXNODE* child);

// Reads an attribute. `type`, when given and not 0 on entry, asks for that
// type, converting the stored value (numbers, booleans, GUIDs and text
// convert into one another; a list into a list; 0x8007000D when the value
// has no such form); on return it holds the type delivered. `size` is in
// bytes. With a null buffer the call only reports the type and the size;
// with a null buffer and a null type it only tells whether the attribute
// exists. Options are 0.
HRESULT VxnGetAttribute(HVXNODE node, const char16_t* name, uint32_t* type, void* buffer,
                        uint32_t* size, uint32_t options);
// Replaces or adds the attribute; `size` must match the type's layout. A new
// attribute goes last. Look-up and insertion are O(1) amortised however many
// attributes a node holds; deletion is linear in their number.
HRESULT VxnSetAttribute(HVXNODE node, const char16_t* name, uint32_t type, const void* data,
                        uint32_t size);
HRESULT VxnDeleteAttribute(HVXNODE node, const char16_t* name, uint32_t options);
// The names, in insertion order, as a string list (type 258 layout).
HRESULT VxnGetAttributeNames(HVXNODE node, char16_t* buffer, uint32_t* size);

HRESULT VxnStartSerialization(uint32_t format, uint32_t flags, VxnWriteCallback write,
                              void* callbackContext, HVXNSERIALIZER* context);
HRESULT VxnSerializeNodes(HVXNSERIALIZER context, const HVXNODE* nodes, uint32_t count,
                          uint32_t option);
HRESULT VxnFinalizeSerialization(HVXNSERIALIZER context);
HRESULT VxnCloseSerializationContext(HVXNSERIALIZER context);

HRESULT VxnStartDeserialization(uint32_t format, uint32_t flags, VxnReadCallback read,
                                void* callbackContext, HVXNDESERIALIZER* context);
// Hands out up to `capacity` nodes; fewer than `capacity` means the end.
HRESULT VxnDeserializeNodes(HVXNDESERIALIZER context, HVXNODE* nodes, uint32_t capacity,
                            uint32_t* count);
HRESULT VxnCloseDeserializationContext(HVXNDESERIALIZER context);

}  // extern "C"
