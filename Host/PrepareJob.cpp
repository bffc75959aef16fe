#include "Host/PrepareJob.h"

#include <exception>
#include <new>
#include <optional>
#include <stdexcept>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "Host/CatalogWatch.h"
#include "Host/HostEnvironment.h"
#include "Host/HostServices.h"
#include "Host/LibraryDiagnostics.h"
#include "Host/ModuleLoader.h"
#include "Host/PreparerSlot.h"

namespace {

void PrintFailure(std::ostream& err, const std::string& source, const std::string& text) {
  err << source << ": " << text << "\n";
}

// A failure of the host's own (reading a file, a name of the command line).
void PrintHostFailure(std::ostream& err, const std::string& source, const HRX& failure) {
  const HRESULT code = failure.Report();
  const auto info = GetErrorInfo();
  PrintFailure(err, source, FormatFailure(code, info.get()));
}

// The status a standard exception stands for, as at the library's border.
HRESULT StatusOf(const std::exception& failure) {
  if (dynamic_cast<const std::bad_alloc*>(&failure)) return E_OUTOFMEMORY;
  if (dynamic_cast<const std::invalid_argument*>(&failure) ||
      dynamic_cast<const std::out_of_range*>(&failure)) {
    return E_INVALIDARG;
  }
  return E_FAIL;
}

void PrintException(std::ostream& err, const std::string& source, const std::exception& failure) {
  const HRESULT code = StatusOf(failure);
  ErrorInfo info{GetDescription(code) + u": " + ToUtf16(failure.what()), kErrorInfoSource, code};
  PrintFailure(err, source, FormatFailure(code, &info));
}

// Reads the nodes of a file; prints the failure and gives false on error.
bool ReadNodes(const std::string& path, std::vector<VXNodePtr>& nodes, std::ostream& err) {
  try {
    nodes = ReadNodeTextFile(path);
    return true;
  } catch (const HRX& failure) {
    PrintHostFailure(err, path, failure);
    return false;
  }
}

// One host: the library loaded, the host's named components, the preparer in
// use. The members go in the reverse order: the preparer first, the module
// last.
class Host {
 public:
  Host(const PrepareOptions& options, const HostEnvironment& environment, std::ostream& out)
      : diagnostics_(module_.ModuleObject()),
        services_(module_, environment, out, options.xml),
        preparers_(module_.ModuleObject(), diagnostics_,
                   [this](IComponent* retired) { services_.Forget(retired); }) {
    if (options.maxSeverity) diagnostics_.SetMaxSeverity(*options.maxSeverity);
    for (Logger* logger : options.loggers) diagnostics_.AddLogger(logger);
  }

  // Puts `catalog` in use; prints the failure (with `note` after it) and
  // gives false when it does not load.
  bool Load(const VXNodePtr& catalog, const std::string& source, std::ostream& err,
            const char* note = "") {
    services_.ServeExecutor(catalog.GetString(u"queries_processor", u""));
    std::string failure;
    if (Succeeded(preparers_.Load(catalog, failure))) return true;
    PrintFailure(err, source, failure + note);
    return false;
  }

  bool Process(const VXNodePtr& query, const std::string& source, std::ostream& err) {
    std::string failure;
    if (Succeeded(preparers_.Process(query, failure))) return true;
    PrintFailure(err, source, failure);
    return false;
  }

 private:
  ModuleLoader module_;
  LibraryDiagnostics diagnostics_;
  HostServices services_;
  PreparerSlot preparers_;
};

// Prepares each request of one file; false if any failed.
bool PrepareFile(Host& host, const std::string& path, const std::string& catalogPath,
                 CatalogWatch* watch, std::ostream& err) {
  std::vector<VXNodePtr> requests;
  if (!ReadNodes(path, requests, err)) return false;
  bool ok = true;
  for (const auto& request : requests) {
    if (watch) {
      if (const VXNodePtr changed = watch->Changed(err)) {
        host.Load(changed, catalogPath, err, " (the catalogue in use stays)");
      }
    }
    ok = host.Process(request, path, err) && ok;
  }
  return ok;
}

int Run(const PrepareOptions& options, std::ostream& out, std::ostream& err) {
  // Made before the first read, so that a change in between is not missed.
  std::optional<CatalogWatch> watch;
  if (options.watch) watch.emplace(options.catalog);
  std::vector<VXNodePtr> catalog;
  if (!ReadNodes(options.catalog, catalog, err)) return 1;
  if (catalog.empty()) {
    err << options.catalog << ": the file holds no catalogue node\n";
    return 1;
  }
  std::vector<VXNodePtr> environment;
  if (!options.environment.empty() && !ReadNodes(options.environment, environment, err)) return 1;
  const VXNodePtr environmentNode = environment.empty() ? VXNodePtr() : environment.front();
  std::optional<HostEnvironment> served;
  try {
    served.emplace(environmentNode, ToUtf16(options.as));
  } catch (const HRX& failure) {
    PrintHostFailure(err, options.environment.empty() ? std::string("--as") : options.environment,
                     failure);
    return 1;
  }
  try {
    Host host(options, *served, out);
    if (!host.Load(catalog.front(), options.catalog, err)) return 1;
    bool ok = true;
    for (const auto& path : options.requests) {
      ok = PrepareFile(host, path, options.catalog, watch ? &*watch : nullptr, err) && ok;
    }
    out.flush();
    return ok ? 0 : 1;
  } catch (const HRX& failure) {
    PrintHostFailure(err, options.catalog, failure);
    return 1;
  }
}

}  // namespace

int RunPrepareJob(const PrepareOptions& options, std::ostream& out, std::ostream& err) {
  try {
    return Run(options, out, err);
  } catch (const std::exception& failure) {
    PrintException(err, options.catalog, failure);
    return 1;
  }
}
