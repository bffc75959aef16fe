#include "FakeDataSources.h"

namespace QueriesProcessing::Testing {

HRESULT FakeDataSources::GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) {
  this->flags.push_back(flags);
  if (const auto failure = failures.find(id); failure != failures.end()) return failure->second;
  if (const auto node = nodes.find(id); node != nodes.end()) *out = node->second.Clone();
  return S_OK;
}

}  // namespace QueriesProcessing::Testing
