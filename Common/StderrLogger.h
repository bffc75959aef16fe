#pragma once

#include "Common/Logger.h"

// Writes the same lines as the file log, in UTF-8, to standard error. Hosts
// register it for people watching a run.
class StderrLogger : public Logger {
 public:
  void Write(const char16_t* text, size_t length) override;
};
