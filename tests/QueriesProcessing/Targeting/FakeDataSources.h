#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"

namespace QueriesProcessing::Testing {

// "DataSourceManager" as a fake: GetDataSource answers a copy of the node
// filed under the id (compared exactly: ids come in format 0), null for an
// unknown id, or the status filed for it. The flags of every call are kept.
class FakeDataSources : public CComponentBase, public IDataSourceManager, public IDataSources {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IDataSources>;

  HRESULT AddObserver(ITriggerObserver*) override { return S_OK; }
  HRESULT GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) override;

  std::map<std::u16string, VXNodePtr, std::less<>> nodes;
  std::map<std::u16string, HRESULT, std::less<>> failures;
  std::vector<uint32_t> flags;
};

}  // namespace QueriesProcessing::Testing
