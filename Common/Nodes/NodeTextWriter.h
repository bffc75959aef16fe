#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Common/Nodes/VxnApi.h"

// Writes node trees in the node text form (docs/node-text-format.md): UTF-8
// XML, the nodes wrapped in one <nr> root. The output is standard XML that
// any conforming parser reads back to the same values; line breaks and tabs
// inside attribute values are written as character references.
//
//   flags VXN_TEXT_INDENT          one element a line, two spaces a level
//   flags VXN_TEXT_NO_DECLARATION  no "<?xml ...?>" line
//
// Streams: Begin once, Add any number of times, End once.
class NodeTextWriter {
 public:
  explicit NodeTextWriter(uint32_t flags) : flags_(flags) {}

  void Begin(std::string& out) const;
  void Add(const VXNodePtr& node, std::string& out) const;
  void End(std::string& out) const;

 private:
  void Element(HVXNODE node, int depth, std::string& out) const;
  void Indent(int depth, std::string& out) const;

  uint32_t flags_;
};

// The whole document for `nodes`.
std::string WriteNodeText(const std::vector<VXNodePtr>& nodes, uint32_t flags = VXN_TEXT_INDENT);
