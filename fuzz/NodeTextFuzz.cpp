// The text form: whatever it reads, it writes, and reading what it wrote gives
// the same tree (compared through a second writing). Anything it refuses must
// be refused with a status, never a crash.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  SetMaxSeverity(Severity::NONE);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string first;
  try {
    first = WriteNodeText(ReadNodeText(input, "input"));
  } catch (const HRX&) {
    return 0;
  }
  const std::string second = WriteNodeText(ReadNodeText(first, "written"));
  if (first != second) std::abort();
  return 0;
}
