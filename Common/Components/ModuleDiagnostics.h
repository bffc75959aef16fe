#pragma once

#include "Common/Components/ComponentObject.h"
#include "Common/Components/DiagnosticsInterfaces.h"

// The module's diagnostics for its host, class
// {73B94F88-DF19-40E1-9EE9-45B816564825}: the calling thread's error
// information and the module's log (DiagnosticsInterfaces.h). An object keeps
// no state of its own: every one serves the one log of the process and the
// information of the thread that calls it. Needs no Configure. Thread-safe.
class CModuleDiagnostics : public CComponentBase, public IErrorInfoSource, public ILogControl {
 public:
  using Interfaces = std::tuple<IErrorInfoSource, ILogControl>;

  HRESULT TakeErrorInfo(ErrorInfo* info) override;
  HRESULT SetMaxSeverity(int32_t severity) override;
  HRESULT AddLogSink(ILogSink* sink) override;
};
