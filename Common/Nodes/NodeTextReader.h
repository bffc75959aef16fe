#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

// Reads node trees written in the node text form (docs/node-text-format.md):
// the children of the <nr> root, in order.
//
// Raises HRX 0x8007000D on malformed input, with a text that names the source,
// line and column: "catalog.xml:12:7: bool: takes true or false". CRLF line
// ends read as LF; line breaks typed inside attribute values are kept.
//
// Nothing is changed silently; these are refused too, with line and column:
//   - a tree deeper than kMaxTreeDepth (1000) levels, a single node being
//     1 level deep (the <nr> root does not count). The document is read
//     without recursion, so any depth is refused safely;
//   - a text that is UTF-16, not UTF-8, holds a NUL byte, or a character
//     reference to U+0000, a surrogate or no character (NodeTextBytes.h);
//   - an attribute given twice on one element, by XML attributes or
//     <_attr> elements; `_type` on an element other than <_>;
//   - U+0000 in a name, type, node value or string list element (the
//     library cannot hold it there); string values carry it as "u16:".
std::vector<VXNodePtr> ReadNodeText(std::string_view utf8, std::string_view sourceName);

// The same for a file. A path that is a directory raises 0x80070057 saying
// so; a file that cannot be read raises 0x80070002 naming it.
std::vector<VXNodePtr> ReadNodeTextFile(const std::string& path);
