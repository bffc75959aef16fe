#pragma once

#include <string>
#include <vector>

#include "Common/Guid.h"

namespace QueriesProcessing {

// Asks "Service.ContainersSettingsRegulator" (through "Core.ServiceClient",
// on the calling thread, in its request context) for the scope items of one
// monitoring plan:
//   request   node type RetrieveContainerItemsRequest: ContainerId (GUID,
//             the plan), DataSourceIds (GUID list, in the set's order),
//             UseFullName (boolean: items by their full display text)
//   response  ResultCode (integer, required), ErrorSerialized (string,
//             optional), ScopeItems (list, optional; missing or of type 0:
//             no items)
// Returns ScopeItems as text, in the service's order.
//
// Failures (HRX): the client missing or failing, or the call failing, its
// status; no response node, or none with ResultCode, 0x80070490; a failing
// ResultCode, that code, with ErrorSerialized as its text when there is one.
std::vector<std::u16string> RetrieveContainerItems(const GUID& plan, const GuidSet& dataSources,
                                                   bool useFullName);

}  // namespace QueriesProcessing
