#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/IComponent.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Components/ServerInterfaces.h"
#include "Host/LibraryDiagnostics.h"

// The membership preprocessor in the host's chain ahead of the preparer, as
// a server's chain has it: CGroupMembershipPreprocessor, made by its class
// through the module object and configured with a copy of the catalogue
// file's `GroupMembershipPreprocessor` node.
//
// Process hands a request to ProcessQuery, which blocks until the
// preprocessor's tables manager stands (while the storage is disabled, until
// the settings change), with no time-out of its own. The host bounds that
// wait: a call that has not returned after `wait` has the preprocessor shut
// down, which releases a waiting call with 0x80047F03, and every later call
// fails so at once; its failure text then ends with " (the host stopped the
// membership preprocessor after <n> ms)". A lookup in progress is not cut
// short; it ends by its own bounds.
//
// Cancel and KeepAlive hand a request file's `Cookie` and `KeepAlive` nodes
// to CancelQuery and NotifyGetResult.
//
// Each failure gives its status with `failure` set to "0x%08X <text>" (the
// library's text of it). The destructor shuts the preprocessor down, calls
// `retire` with it so that the host's components let go of it, and lets go
// of it too: its last reference ends its tables manager, which drops every
// session table it made.
//
// Not thread-safe: the host calls it from one thread.
class PreprocessorSlot {
 public:
  PreprocessorSlot(CompPtr<IModuleObject> module, const LibraryDiagnostics& diagnostics,
                   std::chrono::milliseconds wait, std::function<void(IComponent*)> retire);
  ~PreprocessorSlot();
  PreprocessorSlot(const PreprocessorSlot&) = delete;
  PreprocessorSlot& operator=(const PreprocessorSlot&) = delete;

  // Makes and configures the preprocessor; on failure (0x80004002 when it
  // lacks one of the interfaces used) none is in use.
  HRESULT Load(const VXNodePtr& configuration, std::string& failure);
  bool Loaded() const { return static_cast<bool>(preprocessor_); }

  HRESULT Process(const VXNodePtr& query, std::string& failure);
  HRESULT Cancel(const VXNodePtr& request, std::string& failure);
  HRESULT KeepAlive(const VXNodePtr& request, std::string& failure);

 private:
  static HRESULT Shutdown(const CompPtr<IConfigurable>& preprocessor);
  HRESULT Checked(HRESULT status, std::string& failure) const;

  CompPtr<IModuleObject> module_;
  const LibraryDiagnostics& diagnostics_;
  std::chrono::milliseconds wait_;
  std::function<void(IComponent*)> retire_;
  CompPtr<IConfigurable> preprocessor_;
  CompPtr<IQueryProcessor> queries_;             // of preprocessor_
  CompPtr<IResultNotification> notifications_;  // of preprocessor_
};
