#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "Common/Components/CompPtr.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Host/HostComponents.h"
#include "Host/ModuleLoader.h"
#include "Host/NamedInstanceTable.h"

// The environment's child of node type `type`, or null.
VXNodePtr ChildOfType(const VXNodePtr& environment, std::u16string_view type);

// The named components that the command-line host serves to the loaded
// module, made from the environment file: "DataSourceManager",
// "ConfigServer.Proxy" and "Base.AppConfigStorage" (the environment's
// `Config` tree), "Core.RequestContextMgr" (acting for `caller`),
// "Core.ServiceClient" (the environment's `Services`), and the executing
// component, which prints each prepared query to `out` (the request tree in
// the node text form with `xml`). While this object lives, its table answers
// the module's look-ups of named instances.
//
// Made, used and destroyed on the host's thread; the components themselves
// may be called from any.
class HostServices {
 public:
  HostServices(const ModuleLoader& module, const VXNodePtr& environment, const VXNodePtr& caller,
               std::ostream& out, bool xml);
  // Uninstalls the table and lets go of every observer the components hold.
  ~HostServices();
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  // Serves the executing component under `name` too (a catalogue's
  // `queries_processor`); an empty name adds nothing.
  void ServeExecutor(const std::u16string& name);
  // Lets go of every reference the components hold to `component`: its
  // registrations as an observer.
  void Forget(IComponent* component);

 private:
  const ModuleLoader& module_;
  NamedInstanceTable names_;
  CompPtr<IDataSourceManager> dataSources_;
  CompPtr<IConfigSubscriptions> proxy_;
  CompPtr<IQueryProcessor> printer_;
};
