#pragma once

#include <string_view>

#include "Common/Nodes/VXNodePtr.h"

// The node at `path` below `at`, in a configuration tree whose root stands
// for "\" and whose path components are node names separated by "\"
// (empty components are passed over); null when there is none.
VXNodePtr NodeAtPath(VXNodePtr at, std::u16string_view path);
