#pragma once

#include <string>

#include "Common/Logger.h"
#include "Common/Nodes/NodeDumpMask.h"
#include "Common/Nodes/VXNodePtr.h"

// The text of a node for the log: "VXNode[<null>]" for no node, else
// "VXNode[0x<handle>]:\r\n" and the tree in the indented text form without
// its <nr> root, hidden attributes masked.
std::u16string DumpNode(const VXNodePtr& node, const NodeDumpMask& mask);

// Dumps a node into a log statement, hiding the attributes that the setting
// `HiddenNodeTypeAttrs` of section "Logger" lists:
//   VX_LOG(Severity::DBG, u"Request: " << request);
LogMessage& operator<<(LogMessage& message, const VXNodePtr& node);
