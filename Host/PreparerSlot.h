#pragma once

#include <functional>
#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/IComponent.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Components/ServerInterfaces.h"
#include "Host/LibraryDiagnostics.h"

// The preparer in use, and the change to a new catalogue.
//
// A preparer keeps the catalogue it was configured with and rebuilds from it
// alone, so a new catalogue is a new component: Load makes a fresh preparer
// (CScriptwright, by its class through the module object), configures it with
// its own copy of the catalogue, and only when that succeeded puts it in use
// and shuts the one before down. The preparer says whether it is ready in
// Configure itself: Configure loads the engine from the catalogue before it
// returns and fails when that fails. A preparer put out of use is shut down,
// then `retire` is called with it so that the host's components let go of it.
//
// Every preparer of a process shares the one set of variable processors,
// which each load rebuilds. After a failed load, which may have left that set
// half rebuilt, Load configures one more fresh preparer from the catalogue in
// use and puts it in place of the one in use; so a catalogue that does not
// load leaves the one in use as it was.
//
// The catalogue trees are copied: a preparer's copy is read by its own
// threads, and nothing changes it. Not thread-safe: the host calls Load and
// Process from one thread, so a change falls between two requests.
class PreparerSlot {
 public:
  PreparerSlot(CompPtr<IModuleObject> module, const LibraryDiagnostics& diagnostics,
               std::function<void(IComponent*)> retire);
  // Shuts the preparer in use down.
  ~PreparerSlot();
  PreparerSlot(const PreparerSlot&) = delete;
  PreparerSlot& operator=(const PreparerSlot&) = delete;

  // Puts a preparer of `catalog` in use. On failure gives the status, with
  // `failure` set to "0x%08X <text>", and the preparer in use (if any) stays.
  HRESULT Load(const VXNodePtr& catalog, std::string& failure);
  // ProcessQuery of the preparer in use; 0x80070057 when there is none. On
  // failure `failure` is set as above.
  HRESULT Process(const VXNodePtr& query, std::string& failure);
  // CancelQuery of the preparer in use, likewise.
  HRESULT Cancel(const VXNodePtr& request, std::string& failure);

 private:
  // A fresh preparer configured with a copy of `catalog`; null on failure,
  // with the status in `status` and `failure` set.
  CompPtr<IConfigurable> Configured(const VXNodePtr& catalog, HRESULT& status,
                                    std::string& failure);
  HRESULT Call(std::string& failure, const std::function<HRESULT(IQueryProcessor&)>& call);
  void Replace(CompPtr<IConfigurable> fresh, const VXNodePtr& catalog);
  void Retire(CompPtr<IConfigurable>& preparer);

  CompPtr<IModuleObject> module_;
  const LibraryDiagnostics& diagnostics_;
  std::function<void(IComponent*)> retire_;
  CompPtr<IConfigurable> current_;
  VXNodePtr catalog_;  // the copy kept of the catalogue in use, given to nobody
};
