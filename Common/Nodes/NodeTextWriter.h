#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Common/Nodes/VxnApi.h"

struct VxnNode;
struct VxnAttribute;

// Writes node trees in the node text form (docs/node-text-format.md): UTF-8
// XML, the nodes wrapped in one <nr> root. The output is standard XML that
// any conforming parser reads back to the same values; line breaks and tabs
// inside attribute values are written as character references.
//
//   flags VXN_TEXT_INDENT          one element a line, two spaces a level
//   flags VXN_TEXT_NO_DECLARATION  no "<?xml ...?>" line
//
// Streams: Begin once, Add any number of times, End once. Trees of any depth
// are written without recursion (a host may build deeper trees than the
// reader accepts).
//
// For log dumps, a writer can hide attribute values and stop writing at a
// size: the walk then goes on only to count what is left out, so a huge tree
// never becomes a huge string.
//
// Not thread-safe; the trees written must not change meanwhile.
class NodeTextWriter {
 public:
  // True when the value of attribute `name` on a node of type `type` (empty
  // for none) is to be hidden.
  using ValueMask = std::function<bool(std::u16string_view type, std::u16string_view name)>;

  explicit NodeTextWriter(uint32_t flags) : flags_(flags) {}

  // Writes `text`, as a string, in place of each value that `hidden` picks.
  void HideValues(ValueMask hidden, std::u16string text);
  // Once `bytes` bytes have gone out through Begin, Add and End together,
  // nothing more is written (the cut falls on a character boundary); the
  // bytes left out are counted in Omitted(). No limit by default.
  void LimitOutput(size_t bytes) { limit_ = bytes; }
  size_t Omitted() const { return omitted_; }

  void Begin(std::string& out);
  void Add(const VXNodePtr& node, std::string& out);
  void End(std::string& out);

 private:
  // Writes the start of an element; false when it is already closed
  // (nothing inside), true when End must follow after its children.
  bool Open(const VxnNode& node, size_t depth, std::string& out);
  void Close(const VxnNode& node, size_t depth, std::string& out);
  void AttributeElements(const VxnNode& node, size_t depth, std::string& out);
  void Attribute(std::string_view name, std::u16string_view value, std::string& out);
  std::u16string ValueText(const VxnNode& node, const VxnAttribute& attribute) const;
  void LineEnd(std::string& out);
  void Indent(size_t depth, std::string& out);
  void Put(std::string_view bytes, std::string& out);
  void PutSpaces(size_t count, std::string& out);

  uint32_t flags_;
  ValueMask hidden_;
  std::u16string hiddenText_;
  size_t limit_ = std::numeric_limits<size_t>::max();
  size_t written_ = 0;
  size_t omitted_ = 0;
};

// The whole document for `nodes`.
std::string WriteNodeText(const std::vector<VXNodePtr>& nodes, uint32_t flags = VXN_TEXT_INDENT);
