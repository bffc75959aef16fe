#pragma once

#include <string>
#include <unordered_map>

#include "Common/Guid.h"
#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// One row of the risk configuration.
struct RiskEntry {
  std::u16string RiskName;
  GuidSet DataSources;              // the data source types the risk applies to
  bool UseItemDisplayName = false;  // items are asked for and compared by display text
};

// A risk's name to its row.
using RiskConfiguration = std::unordered_map<std::u16string, RiskEntry>;

// Reads the child named "RiskConfiguration" (required) of the processor's
// configuration: each child of node type "RiskEntry" has RiskName (string),
// DataSources (GUID list, guid[] or str[]) and UseItemDisplayName (boolean),
// all required. The first row of a name counts. Children of other types are
// passed over.
//
// Failures (HRX): a missing child or attribute, 0x80070490; a DataSources
// element that is no GUID, 0x80070057.
RiskConfiguration ReadRiskConfiguration(const VXNodePtr& config);

}  // namespace QueriesProcessing
