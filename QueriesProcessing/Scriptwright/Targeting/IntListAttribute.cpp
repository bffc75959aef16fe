#include "QueriesProcessing/Scriptwright/Targeting/IntListAttribute.h"

#include <cstring>

namespace QueriesProcessing {

std::vector<int32_t> ReadIntList(const VXNodePtr& node, std::u16string_view name) {
  const std::optional<uint32_t> stored = node.GetAttributeType(name);
  if (!stored || *stored == VXN_EMPTY) return {};
  uint32_t type = VXN_INT32_LIST;
  const std::vector<uint8_t> data = node.GetRaw(name, type);
  std::vector<int32_t> ids(data.size() / sizeof(int32_t));
  if (!ids.empty()) std::memcpy(ids.data(), data.data(), ids.size() * sizeof(int32_t));
  return ids;
}

void WriteIntList(const VXNodePtr& node, std::u16string_view name, const std::vector<int32_t>& ids) {
  node.SetAttribute(name, VXN_INT32_LIST, ids.data(),
                    static_cast<uint32_t>(ids.size() * sizeof(int32_t)));
}

}  // namespace QueriesProcessing
