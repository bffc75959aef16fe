#include "QueriesProcessing/Scriptwright/Targeting/DataSourceMapping.h"

#include <string>

#include "Common/ErrorHandling.h"
#include "QueriesProcessing/Scriptwright/Targeting/IntListAttribute.h"

namespace QueriesProcessing {

std::set<int32_t> DataSourceMappingEntry::ProductIds() const {
  std::set<int32_t> ids = AdditionalProductIds;
  ids.insert(MandatoryProductId);
  return ids;
}

DataSourceMapping DataSourceMapping::Read(const VXNodePtr& mappingNode) {
  DataSourceMapping mapping;
  mappingNode.ForEachChild([&](const VXNodePtr& child) {
    if (child.GetType() != u"DataSource") return;
    const GUID type = ParseDataSourceType(child.GetValue());
    DataSourceMappingEntry entry;
    entry.MandatoryProductId = child.GetInt32(u"MandatoryProductId");
    const std::vector<int32_t> additional = ReadIntList(child, u"AdditionalProductIds");
    entry.AdditionalProductIds.insert(additional.begin(), additional.end());
    mapping.entries_.try_emplace(type, std::move(entry));
  });
  return mapping;
}

const DataSourceMappingEntry* DataSourceMapping::Find(const GUID& type) const {
  const auto it = entries_.find(type);
  return it == entries_.end() ? nullptr : &it->second;
}

GUID ParseDataSourceType(std::u16string_view text) {
  const std::optional<GUID> guid = ParseGuid(text);
  if (!guid)
    ThrowError(E_INVALIDARG, u": data source type '" + std::u16string(text) + u"' is no GUID");
  return *guid;
}

}  // namespace QueriesProcessing
