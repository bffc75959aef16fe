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
std::vector<VXNodePtr> ReadNodeText(std::string_view utf8, std::string_view sourceName);

// The same for a file; a file that cannot be read raises 0x80070002 naming it.
std::vector<VXNodePtr> ReadNodeTextFile(const std::string& path);
