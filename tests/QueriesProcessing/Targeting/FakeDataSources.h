#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"

namespace QueriesProcessing::Testing {

// "DataSourceManager" as a fake: GetDataSource answers a copy of the node
// filed under the id (compared as a GUID when both read as one, else
// exactly), null for an unknown id, or the status filed for it. Every call
// is kept.
class FakeDataSources : public CComponentBase, public IDataSourceManager, public IDataSources {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IDataSources>;

  HRESULT AddObserver(ITriggerObserver*) override { return S_OK; }
  HRESULT GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) override;

  // Makes one with a reference held by the caller.
  static FakeDataSources* Make();

  void Add(std::u16string id, VXNodePtr node) {
    nodes.emplace_back(std::move(id), std::move(node));
  }
  void Fail(std::u16string id, HRESULT status) { failures.emplace_back(std::move(id), status); }

  struct Call {
    std::u16string id;
    uint32_t flags;
  };
  std::vector<std::pair<std::u16string, VXNodePtr>> nodes;
  std::vector<std::pair<std::u16string, HRESULT>> failures;
  std::vector<Call> calls;
};

}  // namespace QueriesProcessing::Testing
