#include "FakeDataSources.h"

namespace QueriesProcessing::Testing {

std::u16string FakeDataSources::Key(std::u16string_view id) {
  const std::optional<GUID> guid = ParseGuid(id);
  return guid ? FormatGuid(*guid, 0) : std::u16string(id);
}

FakeDataSources* FakeDataSources::Make() {
  IDataSources* made = nullptr;
  Check(CComponentObject<FakeDataSources>::Create(IDataSources::kIid,
                                                  reinterpret_cast<void**>(&made)));
  return static_cast<FakeDataSources*>(made);
}

HRESULT FakeDataSources::GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) {
  calls.push_back({std::u16string(id), flags});
  const std::u16string key = Key(id);
  if (const auto failure = failures.find(key); failure != failures.end()) return failure->second;
  if (const auto node = nodes.find(key); node != nodes.end()) *out = node->second.Clone();
  return S_OK;
}

}  // namespace QueriesProcessing::Testing
