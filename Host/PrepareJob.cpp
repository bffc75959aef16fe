#include "Host/PrepareJob.h"

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Text.h"
#include "Host/CommandPrinter.h"
#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"

namespace {

using QueriesProcessing::CScriptwrightImpl;

// "0x80070490 Element not found: ..." from the failure's error information.
std::string FailureText(HRESULT code) {
  auto info = GetErrorInfo();
  std::u16string text = info && info->code == code ? info->description : GetDescription(code);
  return ToUtf8(FormatString(u"0x%08X %s", static_cast<uint32_t>(code), text));
}

void PrintFailure(std::ostream& err, const std::string& source, HRESULT code) {
  err << source << ": " << FailureText(code) << "\n";
}

// Reads the nodes of a file; prints the failure and gives none on error.
bool ReadNodes(const std::string& path, std::vector<VXNodePtr>& nodes, std::ostream& err) {
  try {
    nodes = ReadNodeTextFile(path);
    return true;
  } catch (const HRX& failure) {
    PrintFailure(err, path, failure.Report());
    return false;
  }
}

bool LoadCatalog(CScriptwrightImpl& engine, const std::string& path, std::ostream& err) {
  std::vector<VXNodePtr> nodes;
  if (!ReadNodes(path, nodes, err)) return false;
  if (nodes.empty()) {
    err << path << ": the file holds no catalogue node\n";
    return false;
  }
  const HRESULT status = engine.Initialize(nodes.front());
  if (Failed(status)) PrintFailure(err, path, status);
  return Succeeded(status);
}

// Prepares each request of one file; false if any failed.
bool PrepareFile(CScriptwrightImpl& engine, const std::string& path, bool xml, std::ostream& out,
                 std::ostream& err) {
  std::vector<VXNodePtr> requests;
  if (!ReadNodes(path, requests, err)) return false;
  bool ok = true;
  for (auto& request : requests) {
    const HRESULT status = engine.Prepare(request);
    if (Failed(status)) {
      PrintFailure(err, path, status);
      ok = false;
      continue;
    }
    out << (xml ? WriteNodeText({request}) : RenderCommands(request));
  }
  return ok;
}

}  // namespace

int RunPrepareJob(const PrepareOptions& options, std::ostream& out, std::ostream& err) {
  CScriptwrightImpl engine;
  if (!LoadCatalog(engine, options.catalog, err)) return 1;
  bool ok = true;
  for (const auto& path : options.requests) ok = PrepareFile(engine, path, options.xml, out, err) && ok;
  out.flush();
  return ok ? 0 : 1;
}
