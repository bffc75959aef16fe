#pragma once

#include <string>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// One processor use of a command: the token to dispatch, and the command's
// `variable_processor` node for this use (null when the token comes from the
// command's `variables` list).
struct VariableEntry {
  std::u16string alias;
  VXNodePtr node;
};

}  // namespace QueriesProcessing
