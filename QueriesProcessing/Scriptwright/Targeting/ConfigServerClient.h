#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Common/Components/ServerInterfaces.h"
#include "Common/Nodes/VXNodePtr.h"

// The small client of the configuration server ("ConfigServer.Proxy", or
// "Base.AppConfigStorage", which offers the same search) that the targeting
// processors share. Searches are described by a node named "FilterByPath"
// (see IConfigNodes); FindNodes and FindMore are asked for at most 100 nodes
// a call. Every failing status of the proxy is raised as HRX with that
// status. Stateless; a proxy is used by one thread at a time here.
namespace QueriesProcessing::ConfigServerClient {

// The most nodes asked for in one FindNodes or FindMore call.
constexpr uint32_t kChunk = 100;
// A count for FindAllNodes that means "all of them".
constexpr uint32_t kAllNodes = 0xFFFFFFFF;

// A FilterByPath node: NodePath (string), IsParent (boolean: the children of
// the node at `path`, not the node) and MaxDepth (32-bit integer: levels of
// children that come along).
VXNodePtr MakePathFilter(std::u16string_view path, bool isParent, int32_t maxDepth);

// The node at `path` with its whole subtree (IsParent false, MaxDepth
// 0x7FFFFFFF; one FindNodes without cursor, count 1). Nothing found: with
// `required` raises HRX 0x80070490 naming the path, else returns a null node.
VXNodePtr GetNode(IConfigNodes& proxy, std::u16string_view path, bool required);

// At most `count` nodes that `filter` finds, in the proxy's order.
// A count up to 100 is one FindNodes without cursor. A larger count is a
// search with a cursor: FindNodes for 100, then, while a chunk comes back
// full, FindMore for the smaller of 100 and what is still missing; it stops
// when `count` nodes are there, a chunk comes back short, or the proxy gave
// no cursor. Pass kAllNodes for every node:
//   250 nodes, count kAllNodes -> FindNodes(100), FindMore(100), FindMore(100)
//   150 nodes, count 150       -> FindNodes(100), FindMore(50)
std::vector<VXNodePtr> FindAllNodes(IConfigNodes& proxy, const VXNodePtr& filter, uint32_t count);

}  // namespace QueriesProcessing::ConfigServerClient
