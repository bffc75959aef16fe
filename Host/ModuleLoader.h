#pragma once

#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Components/NamedInstances.h"

// Loads libscriptwright.so with dlopen, from the path in $SCRIPTWRIGHT_MODULE,
// else from the directory of the running program, else by the dynamic
// loader's search; and finds the module's two exports. The host never links
// the module, so the file named is the only copy of the library in the
// process that this host talks to.
//
// The module stays loaded until the process ends: its log and module object
// live as long as the process, and hold loggers of the host.
class ModuleLoader {
 public:
  // Raises HRX 0x80070002 with the loader's message when the module or an
  // export is missing.
  ModuleLoader();
  ~ModuleLoader();
  ModuleLoader(const ModuleLoader&) = delete;
  ModuleLoader& operator=(const ModuleLoader&) = delete;

  CompPtr<IModuleObject> ModuleObject() const;
  void SetNamedInstanceProvider(NamedInstanceProvider provider) const;

 private:
  void* handle_ = nullptr;
  HRESULT (*getModuleObject_)(const GUID*, void**) = nullptr;
  void (*setProvider_)(NamedInstanceProvider) = nullptr;
};
