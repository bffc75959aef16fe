#include "QueriesProcessing/Scriptwright/Targeting/ConfigServerClient.h"

#include <algorithm>
#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/ErrorHandling.h"
#include "Common/LogScope.h"

namespace QueriesProcessing::ConfigServerClient {

namespace {

// Appends up to `asked` nodes by `fetch(slots, asked, &returned)` and tells
// whether the chunk came back full.
template <typename Fetch>
bool AppendChunk(std::vector<VXNodePtr>& nodes, uint32_t asked, Fetch&& fetch) {
  const size_t have = nodes.size();
  nodes.resize(have + asked);
  uint32_t returned = 0;
  Check(fetch(nodes.data() + have, asked, &returned));
  returned = std::min(returned, asked);
  nodes.resize(have + returned);
  return returned == asked;
}

}  // namespace

VXNodePtr MakePathFilter(std::u16string_view path, bool isParent, int32_t maxDepth) {
  VXNodePtr filter = VXNodePtr::Create(u"", u"FilterByPath");
  filter.SetString(u"NodePath", path);
  filter.SetBool(u"IsParent", isParent);
  filter.SetInt32(u"MaxDepth", maxDepth);
  return filter;
}

VXNodePtr GetNode(IConfigNodes& proxy, std::u16string_view path, bool required) {
  VX_LOG_SCOPE(Severity::DBG, "ConfigServerClient::GetNode");
  const VXNodePtr filter = MakePathFilter(path, false, VXNodePtr::kWholeTree);
  VXNodePtr node;
  uint32_t returned = 0;
  Check(proxy.FindNodes(filter, nullptr, &node, 1, &returned));
  if (returned != 0 && node) return node;
  if (required) ThrowError(E_NOTFOUND, u": no configuration node at " + std::u16string(path));
  return VXNodePtr();
}

std::vector<VXNodePtr> FindAllNodes(IConfigNodes& proxy, const VXNodePtr& filter, uint32_t count) {
  VX_LOG_SCOPE(Severity::DBG, "ConfigServerClient::FindAllNodes");
  std::vector<VXNodePtr> nodes;
  if (count <= kChunk) {
    AppendChunk(nodes, count, [&](VXNodePtr* slots, uint32_t asked, uint32_t* returned) {
      return proxy.FindNodes(filter, nullptr, slots, asked, returned);
    });
    return nodes;
  }
  CompPtr<IConfigCursor> cursor;
  bool full = AppendChunk(nodes, kChunk, [&](VXNodePtr* slots, uint32_t asked, uint32_t* returned) {
    return proxy.FindNodes(filter, cursor.Receive(), slots, asked, returned);
  });
  while (full && cursor && nodes.size() < count) {
    const auto asked = static_cast<uint32_t>(std::min<size_t>(kChunk, count - nodes.size()));
    full = AppendChunk(nodes, asked, [&](VXNodePtr* slots, uint32_t n, uint32_t* returned) {
      return proxy.FindMore(cursor.get(), slots, n, returned);
    });
  }
  return nodes;
}

}  // namespace QueriesProcessing::ConfigServerClient
