#pragma once

// The node library's own representation of a node. Only the library sees
// it: its operations (VxnApi.cpp, the serialisation) and, for the look-up
// that every typed read begins with, VXNodePtr's readers, which find an
// attribute here inline instead of through a call.

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Common/Nodes/VxnApi.h"
#include "Common/Nodes/VxnAttributeList.h"

struct VxnNode {
  // Open handles plus one for the parent's hold.
  std::atomic<uint32_t> references{1};
  std::optional<std::u16string> type;
  std::optional<std::u16string> name;
  std::optional<std::u16string> value;
  VxnNode* parent = nullptr;
  std::vector<VxnNode*> children;  // each holds one reference
  VxnAttributeList attributes;
};
