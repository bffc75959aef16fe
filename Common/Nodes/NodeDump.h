#pragma once

#include <cstddef>
#include <limits>
#include <string>

#include "Common/Logger.h"
#include "Common/Nodes/NodeDumpMask.h"
#include "Common/Nodes/VXNodePtr.h"

// The text of a node for the log: "VXNode[<null>]" for no node, else
// "VXNode[0x<handle>]:\r\n" and the tree in the indented text form without
// its <nr> root, hidden attributes masked.
//
// At most `maxBytes` bytes of the tree's text (its UTF-8 form) are made;
// a longer text is cut there and ends with the line
// "... (N KB more left out)", N rounded up. The tree is walked once, without
// recursion, and never written out whole: a dump costs memory in proportion
// to `maxBytes`, not to the tree's text (which indentation can make
// thousands of times larger than the tree).
std::u16string DumpNode(const VXNodePtr& node, const NodeDumpMask& mask,
                        size_t maxBytes = std::numeric_limits<size_t>::max());

// The setting `MaxNodeDumpKB` of section "Logger", read now, in bytes:
// 1024 KB when it is missing or not a whole number; 0 means no limit.
size_t NodeDumpLimitFromSettings();

// Dumps a node into a log statement, hiding the attributes that the setting
// `HiddenNodeTypeAttrs` of section "Logger" lists and cutting the dump at
// `MaxNodeDumpKB`:
//   VX_LOG(Severity::DBG, u"Request: " << request);
LogMessage& operator<<(LogMessage& message, const VXNodePtr& node);
