#pragma once

#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Components/NamedInstances.h"

// Loads libscriptwright.so with dlopen, from the path in $SCRIPTWRIGHT_MODULE,
// else from the directory of the running program, else by the dynamic
// loader's search; and finds the module's exports.
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
