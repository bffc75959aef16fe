#include "FakeConfigServer.h"

#include "tests/Common/FakeRequestContexts.h"

namespace QueriesProcessing::Testing {

namespace {

// Where the search goes on in `found`.
class FakeCursor : public CComponentBase, public IConfigCursor {
 public:
  using Interfaces = std::tuple<IConfigCursor>;
  size_t next = 0;
};

uint32_t HandOut(const std::vector<VXNodePtr>& found, size_t& next, VXNodePtr* nodes,
                 uint32_t count) {
  uint32_t n = 0;
  for (; n < count && next < found.size(); ++n) nodes[n] = found[next++];
  return n;
}

}  // namespace

HRESULT FakeConfigServer::FindNodes(const VXNodePtr& filter, IConfigCursor** cursor,
                                    VXNodePtr* nodes, uint32_t count, uint32_t* returned) {
  calls.push_back("FindNodes(" + std::to_string(count) + (cursor ? ",cursor)" : ")"));
  filters.push_back(filter);
  *returned = 0;
  if (Failed(findStatus)) return findStatus;
  const std::u16string path = filter.GetString(u"NodePath", u"");
  for (const auto& [at, node] : byPath) {
    if (at != path || count == 0) continue;
    nodes[0] = node;
    *returned = 1;
    return S_OK;
  }
  size_t next = 0;
  *returned = HandOut(found, next, nodes, count);
  if (!cursor || !giveCursor) return S_OK;
  FakeCursor* made = ::Testing::MakeFake<FakeCursor, IConfigCursor>();
  made->next = next;
  *cursor = made;
  return S_OK;
}

HRESULT FakeConfigServer::FindMore(IConfigCursor* cursor, VXNodePtr* nodes, uint32_t count,
                                   uint32_t* returned) {
  calls.push_back("FindMore(" + std::to_string(count) + ")");
  *returned = 0;
  if (Failed(moreStatus)) return moreStatus;
  *returned = HandOut(found, static_cast<FakeCursor*>(cursor)->next, nodes, count);
  return S_OK;
}

}  // namespace QueriesProcessing::Testing
