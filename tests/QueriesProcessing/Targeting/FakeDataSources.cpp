#include "FakeDataSources.h"

namespace QueriesProcessing::Testing {

namespace {

bool SameId(std::u16string_view a, std::u16string_view b) {
  const std::optional<GUID> first = ParseGuid(a);
  const std::optional<GUID> second = ParseGuid(b);
  return first && second ? *first == *second : a == b;
}

}  // namespace

FakeDataSources* FakeDataSources::Make() {
  IDataSources* made = nullptr;
  Check(CComponentObject<FakeDataSources>::Create(IDataSources::kIid,
                                                  reinterpret_cast<void**>(&made)));
  return static_cast<FakeDataSources*>(made);
}

HRESULT FakeDataSources::GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) {
  calls.push_back({std::u16string(id), flags});
  for (const auto& [failing, status] : failures) {
    if (SameId(failing, id)) return status;
  }
  for (const auto& [known, node] : nodes) {
    if (!SameId(known, id)) continue;
    *out = node.Clone();
    return S_OK;
  }
  return S_OK;
}

}  // namespace QueriesProcessing::Testing
