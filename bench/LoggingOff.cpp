// Linked into every benchmark that does not measure logging: the log is off
// before the first benchmark runs, so no figure measures the file writer.

#include "Common/Logger.h"

namespace {

const bool kLoggingOff = [] {
  SetMaxSeverity(Severity::NONE);
  return true;
}();

}  // namespace
