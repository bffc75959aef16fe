#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <unordered_map>

#include "Common/Guid.h"
#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// What the configuration says of one data source type.
struct DataSourceMappingEntry {
  // The product the data source belongs to; its views are filed under it.
  int32_t MandatoryProductId = 0;
  // Further products whose rows the same views carry.
  std::set<int32_t> AdditionalProductIds;

  // AdditionalProductIds and MandatoryProductId together.
  std::set<int32_t> ProductIds() const;
};

// The data source types of the %DB_NAME% configuration, by GUID. Read from
// the child `DataSourceMapping`: each child of node type "DataSource" has the
// type's GUID as its node value, `MandatoryProductId` (integer, required) and
// `AdditionalProductIds` (list of integers, optional). Children of another
// type are ignored; of two children with one GUID the first stays.
//
// Failures (HRX): a `MandatoryProductId` missing, 0x80070490; a node value
// that is no GUID, 0x80070057 (see ParseDataSourceType). Used while the
// processor initialises, then dropped.
class DataSourceMapping {
 public:
  static DataSourceMapping Read(const VXNodePtr& mappingNode);

  // The entry of a data source type, or null.
  const DataSourceMappingEntry* Find(const GUID& type) const;

 private:
  std::unordered_map<GUID, DataSourceMappingEntry> entries_;
};

// A data source type's GUID from a node value in one of three forms:
// "0dd265d7-9c92-4fc0-9cbe-32d691746561", the same in braces, or the 32
// digits without hyphens; either case. Anything else raises HRX 0x80070057.
GUID ParseDataSourceType(std::u16string_view text);

}  // namespace QueriesProcessing
