#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Host/HostDataSources.h"
#include "Host/HostPermissions.h"
#include "Host/ServiceReplies.h"

// The environment file's `environment` node (docs/environment-file.md), read
// into what the host's stand-ins serve:
//
//   Tokens       the caller: a copy of the `Token` child whose node name is
//                `as`, with all its attributes and children
//   Config       the configuration tree of "ConfigServer.Proxy" and
//                "Base.AppConfigStorage"
//   Services     the replies of "Core.ServiceClient", one ServiceReplies a
//                `Service`
//   DataSources  what "DataSourceManager" GetDataSource answers
//   Permissions  what "Security.PermissionsChecker" CheckAccess answers
//   DatabaseSettings
//                the first settings of the database settings service (the
//                membership preprocessor's `DSMInstName`): the node itself,
//                copied, with its attributes (`Enabled`, `Database`, ...)
//
// Each part is the first child of that node type; a missing part is empty.
// Reading checks every part at once, so a malformed file stops the command
// before the library is loaded.
//
// Made and read on the host's thread; the pieces it hands out are safe for
// the stand-ins to use from any thread.
class HostEnvironment {
 public:
  // `environment` may be null (no file): every part empty. An empty `as`
  // leaves the caller null. Raises HRX 0x80070057 when `as` names no token,
  // and the part's failure when a part does not read (HostDataSources,
  // HostPermissions, ServiceReplies).
  HostEnvironment(const VXNodePtr& environment, std::u16string_view as);

  const VXNodePtr& Caller() const { return caller_; }
  const VXNodePtr& Config() const { return config_; }
  const std::vector<std::shared_ptr<ServiceReplies>>& Services() const { return services_; }
  const std::shared_ptr<const HostDataSources>& DataSources() const { return dataSources_; }
  const std::shared_ptr<const HostPermissions>& Permissions() const { return permissions_; }
  const VXNodePtr& DatabaseSettings() const { return databaseSettings_; }

 private:
  VXNodePtr caller_;
  VXNodePtr config_;
  std::vector<std::shared_ptr<ServiceReplies>> services_;
  std::shared_ptr<const HostDataSources> dataSources_;
  std::shared_ptr<const HostPermissions> permissions_;
  VXNodePtr databaseSettings_;
};

// The environment's first child of node type `type`, or null.
VXNodePtr ChildOfType(const VXNodePtr& environment, std::u16string_view type);
