#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"

// What "DataSourceManager" answers to GetDataSource, from the environment's
// `DataSources` node:
//
//   <DataSources>
//     <DataSource _value="{6F1C...}" db="Audit_Files" DatabaseSchema="i32:3" Enabled="bool:true">
//       <_ db="Audit_Files_2019" DatabaseSchema="i32:3"/>   (a further database)
//     </DataSource>
//     <DataSource _value="{77AB...}" Status="u32:2147942405"/>
//   </DataSources>
//
// GetDataSource(id, node, flags):
//   - the first `DataSource` child whose node value names `id` answers: both
//     read as GUIDs and are equal (any text form, any case), or, when either is
//     no GUID, the two texts are equal exactly;
//   - found: 0, `*node` a copy of that child with its whole subtree;
//   - found with a `Status` attribute: that status, `*node` null;
//   - not found: 0, `*node` null;
//   - null `node`: 0x80070057.
// `flags` is not looked at (the library always passes 1). Each call is logged
// at DBG: "DataSourceManager GetDataSource(<id>, <flags>): " and the outcome
// ("found", "not found", or the status).
//
// Keeps a copy of `DataSources` of its own, which it reads under its lock:
// calls may come from any thread at once.
class HostDataSources {
 public:
  // `dataSources` may be null: no data sources. Children of another type are
  // passed over. Raises HRX when a `Status` is no unsigned 32-bit number.
  explicit HostDataSources(const VXNodePtr& dataSources);

  HRESULT GetDataSource(std::u16string_view id, VXNodePtr* node, uint32_t flags) const;

 private:
  struct Entry {
    std::u16string id;
    VXNodePtr node;
    std::optional<HRESULT> status;
  };
  const Entry* Find(std::u16string_view id) const;

  VXNodePtr tree_;              // read under lock_
  std::vector<Entry> entries_;  // their nodes lie in tree_
  mutable std::mutex lock_;
};
