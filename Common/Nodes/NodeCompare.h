#pragma once

#include "Common/Nodes/VXNodePtr.h"

// True when two trees hold the same: at each place the same type, name and
// value (absent equals only absent), the same attributes by name with equal
// types and values (VXNodePtr::CompareAttribute, bytes compared; the order
// of the attributes does not count), and the same children in the same
// order, compared alike. Two null nodes are equal, a null and a node are
// not. Walks without recursion, so trees of any depth compare.
//
//   <s Enabled="bool:true" Database="a.db"/> equals <s Database="a.db" Enabled="bool:true"/>
//   <s Enabled="bool:true"/> differs from <s Enabled="true"/> (string, not boolean)
//
// Reads both trees: neither may change meanwhile.
bool NodesEqual(const VXNodePtr& first, const VXNodePtr& second);
