#pragma once

#include <string>
#include <unordered_map>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// A rule table that tells which request nodes a processor treats as its own
// and how such a node is rewritten before the processor reads it.
//
// Configuration, a `NodeConversion` node: each child is one rule, keyed by
// the child's node name, which is compared with the node type of request
// nodes. A rule's child `NodeMatching` (required) is the pattern; its child
// `NodeTemplate` (optional) holds the attributes that Apply copies:
//   <NodeConversion>
//     <_ _name="Condition">
//       <_ _name="NodeMatching" Kind="who" Scope="i32:2"/>
//       <_ _name="NodeTemplate" Operator="IN"/>
//     </_>
//   </NodeConversion>
// takes every `Condition` node whose `Kind` is the string "who" OR whose
// `Scope` is the 32-bit integer 2, and sets `Operator` on it.
//
// The rule nodes are deep copies, so a table outlives the configuration tree
// it came from. Copies of a table share the rule nodes; after Init nothing
// writes them. Like the request trees it reads, a table is used by one thread
// at a time (processors run under the engine's lock).
class NodeConversions {
 public:
  // Adds the rules of `conversions`, whose children are read by index. A null
  // node adds none. A second rule under the same key leaves the first in
  // place. A rule without `NodeMatching` raises HRX 0x80070490; other node
  // library failures pass up as HRX.
  void Init(const VXNodePtr& conversions);

  // Whether a rule exists for the node type of `node` and its pattern is
  // empty or shares at least one attribute with `node`: same name, same
  // type code, same value (an OR over the pattern's attributes).
  bool IsDefined(const VXNodePtr& node) const;

  // When a rule exists for the node type of `node` (matching or not), copies
  // each attribute of the rule's template onto `node`, in the template's
  // order, replacing one of the same name. Other attributes, the node's
  // type, name, value and children stay.
  void Apply(const VXNodePtr& node) const;

 private:
  struct Rule {
    VXNodePtr nodeTemplate;  // never null: an empty node when not configured
    VXNodePtr nodeMatching;
  };

  const Rule* Find(const VXNodePtr& node) const;

  std::unordered_map<std::u16string, Rule> rules_;
};

}  // namespace QueriesProcessing
