#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"

namespace QueriesProcessing::Testing {

// "DataSourceManager" as a fake: GetDataSource answers a copy of the node
// filed under the id (compared as a GUID when it reads as one, else
// exactly), null for an unknown id, or the status filed for it. Every call
// is kept.
class FakeDataSources : public CComponentBase, public IDataSourceManager, public IDataSources {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IDataSources>;

  HRESULT AddObserver(ITriggerObserver*) override { return S_OK; }
  HRESULT GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) override;

  // Makes one with a reference held by the caller.
  static FakeDataSources* Make();

  void Add(std::u16string_view id, VXNodePtr node) { nodes[Key(id)] = std::move(node); }
  void Fail(std::u16string_view id, HRESULT status) { failures[Key(id)] = status; }

  struct Call {
    std::u16string id;
    uint32_t flags;
  };
  std::map<std::u16string, VXNodePtr> nodes;
  std::map<std::u16string, HRESULT> failures;
  std::vector<Call> calls;

 private:
  // A GUID in format 0, any other id as it stands.
  static std::u16string Key(std::u16string_view id);
};

}  // namespace QueriesProcessing::Testing
