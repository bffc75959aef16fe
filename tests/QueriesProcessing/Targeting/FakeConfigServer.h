#pragma once

#include <string>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"

namespace QueriesProcessing::Testing {

// "ConfigServer.Proxy" as a fake: FindNodes answers `byPath[NodePath]` when
// set, else the nodes of `found`; FindMore goes on through `found`. Every
// call is written to `calls` ("FindNodes(100,cursor)", "FindMore(50)") and
// every filter kept.
class FakeConfigServer : public CComponentBase, public IConfigNodes {
 public:
  using Interfaces = std::tuple<IConfigNodes>;

  HRESULT FindNodes(const VXNodePtr& filter, IConfigCursor** cursor, VXNodePtr* nodes,
                    uint32_t count, uint32_t* returned) override;
  HRESULT FindMore(IConfigCursor* cursor, VXNodePtr* nodes, uint32_t count,
                   uint32_t* returned) override;

  std::vector<VXNodePtr> found;
  std::vector<std::pair<std::u16string, VXNodePtr>> byPath;
  HRESULT findStatus = S_OK;
  HRESULT moreStatus = S_OK;
  bool giveCursor = true;
  std::vector<std::string> calls;
  std::vector<VXNodePtr> filters;
};

}  // namespace QueriesProcessing::Testing
