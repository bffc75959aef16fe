#include "Host/PrepareJob.h"

#include <exception>
#include <new>
#include <optional>
#include <stdexcept>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Text.h"
#include "Host/CatalogWatch.h"
#include "Host/HostEnvironment.h"
#include "Host/HostServices.h"
#include "Host/LibraryDiagnostics.h"
#include "Host/ModuleLoader.h"
#include "Host/PreparerSlot.h"
#include "Host/PreprocessorSlot.h"

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

// The catalogue file's node that configures the membership preprocessor.
VXNodePtr PreprocessorConfiguration(const std::vector<VXNodePtr>& catalog) {
  for (size_t i = 1; i < catalog.size(); ++i) {
    if (catalog[i].GetType() == u"GroupMembershipPreprocessor") return catalog[i];
  }
  return VXNodePtr();
}

// A request with conditions, which a server's chain hands to the membership
// preprocessor: its child named Conditions, or a ConditionsRoot under another
// name, which the preprocessor then refuses rather than the preparer passing
// it by.
bool HasConditions(const VXNodePtr& request) {
  if (request.GetChild(u"Conditions")) return true;
  for (uint32_t i = 0; i < request.ChildCount(); ++i) {
    if (request.ChildAt(i).GetType() == u"ConditionsRoot") return true;
  }
  return false;
}

// One host: the library loaded, the host's named components, the membership
// preprocessor and the preparer in use. The members go in the reverse order:
// the preparer first, then the preprocessor (whose tables go with it), the
// module last.
class Host {
 public:
  Host(const PrepareOptions& options, const HostEnvironment& environment, std::ostream& out)
      : out_(out),
        diagnostics_(module_.ModuleObject()),
        services_(module_, environment, out, options.xml),
        membership_(module_.ModuleObject(), diagnostics_, options.membershipWait,
                    [this](IComponent* retired) { services_.Forget(retired); }),
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

  // Serves what the preprocessor asks for by name and configures it with
  // `configuration`; prints the failure and gives false when that fails.
  bool LoadMembership(const VXNodePtr& configuration, const std::string& source,
                      std::ostream& err) {
    services_.ServeMembership(configuration.GetString(u"DSMInstName", u""),
                              configuration.GetString(u"SimpleStorageInstName", u""));
    std::string failure;
    if (Succeeded(membership_.Load(configuration, failure))) return true;
    PrintFailure(err, source, failure);
    return false;
  }

  // One node of a request file: a step of a session's life, or a request.
  bool Run(const VXNodePtr& node, const std::string& source, std::ostream& err) {
    const std::u16string type = node.GetType();
    std::string failure;
    HRESULT status = S_OK;
    if (type == u"Cookie") {
      status = Cancel(node, failure);
    } else if (type == u"KeepAlive") {
      if (membership_.Loaded()) status = membership_.KeepAlive(node, failure);
    } else if (type == u"DatabaseSettings") {
      status = services_.ChangeDatabaseSettings(node);
      if (Failed(status)) failure = diagnostics_.FailureText(status);
    } else if (type == u"StorageQuery") {
      status = QueryStorage(node, failure);
    } else {
      status = Process(node, failure);
    }
    if (Succeeded(status)) return true;
    PrintFailure(err, source, failure);
    return false;
  }

 private:
  // Through the preprocessor first when it is configured and the request has
  // conditions; a failure there keeps the request from the preparer.
  HRESULT Process(const VXNodePtr& query, std::string& failure) {
    if (membership_.Loaded() && HasConditions(query)) {
      const HRESULT status = membership_.Process(query, failure);
      if (Failed(status)) return status;
    }
    return preparers_.Process(query, failure);
  }

  // As a server's chain passes a cancel: the preprocessor, then the preparer.
  HRESULT Cancel(const VXNodePtr& request, std::string& failure) {
    if (membership_.Loaded()) {
      const HRESULT status = membership_.Cancel(request, failure);
      if (Failed(status)) return status;
    }
    return preparers_.Cancel(request, failure);
  }

  // Runs the step's SQL_Command in the SQL storage and prints the rows.
  HRESULT QueryStorage(const VXNodePtr& step, std::string& failure) {
    VXNodePtr rows;
    const HRESULT status = services_.Storage()->Execute(step, &rows);
    if (Failed(status)) {
      failure = FormatFailure(status, GetErrorInfo().get());
      return status;
    }
    std::vector<VXNodePtr> children;
    rows.ForEachChild([&](const VXNodePtr& row) { children.push_back(row); });
    out_ << "-- StorageQuery: " << children.size() << " row(s)\n";
    if (!children.empty()) out_ << WriteNodeText(children);
    return S_OK;
  }

  std::ostream& out_;
  ModuleLoader module_;
  LibraryDiagnostics diagnostics_;
  HostServices services_;
  PreprocessorSlot membership_;
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
    ok = host.Run(request, path, err) && ok;
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
    const VXNodePtr membership = PreprocessorConfiguration(catalog);
    if (membership && !host.LoadMembership(membership, options.catalog, err)) return 1;
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
