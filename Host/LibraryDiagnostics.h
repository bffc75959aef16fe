#pragma once

#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Components/DiagnosticsInterfaces.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Logger.h"

// The host's side of the loaded module's diagnostics (CModuleDiagnostics):
// the text of a failure that the module just returned, and the module's log.
// The host has a copy of the logging code of its own, which the module does
// not see; whatever concerns the module's log goes through here.
class LibraryDiagnostics {
 public:
  // Raises HRX when the module does not serve the diagnostics class.
  explicit LibraryDiagnostics(const CompPtr<IModuleObject>& module);

  // "0x%08X <text>" for a failure that the module just returned to this
  // thread: the module's own description when it left one for `code`, else
  // the code's text.
  std::string FailureText(HRESULT code) const;

  // The module's log writes up to `severity`, in place of its settings.
  void SetMaxSeverity(Severity severity) const;
  // `logger` gets every line of the module's log as well; it must live until
  // the process ends. Raises HRX, with the module's text, when the log has no
  // free slot.
  void AddLogger(Logger* logger) const;

 private:
  // Raises a failing `code` as HRX with the module's description of it.
  void Check(HRESULT code) const;

  CompPtr<IErrorInfoSource> errors_;
  CompPtr<ILogControl> log_;
};

// "0x%08X <text>" of a failure: the description in `info` when it is of
// `code`, else the code's own text.
std::string FormatFailure(HRESULT code, const ErrorInfo* info);
