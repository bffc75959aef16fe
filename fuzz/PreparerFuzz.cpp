// The preparer component with the example catalogue, fed request trees read
// from the input: every request ends in a status, never a crash, a hang or
// an exception across the component border.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"
#include "bench/BenchHost.h"

namespace {

std::unique_ptr<bench::ConfiguredPreparer> gPreparer;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  SetMaxSeverity(Severity::NONE);
  gPreparer = std::make_unique<bench::ConfiguredPreparer>(
      ReadNodeTextFile(SCRIPTWRIGHT_SOURCE_DIR "/examples/catalog.xml")[0]);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<VXNodePtr> requests;
  try {
    requests = ReadNodeText(std::string_view(reinterpret_cast<const char*>(data), size), "input");
  } catch (const HRX&) {
    return 0;
  }
  for (const VXNodePtr& request : requests) gPreparer->processor().ProcessQuery(request);
  return 0;
}
