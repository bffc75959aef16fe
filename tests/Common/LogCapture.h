#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Common/Logger.h"
#include "Common/Text.h"

// The lines of the process's log, kept in memory for tests. Registered once,
// so that the tests of one program share a single logger slot of the four.
class LogCapture : public Logger {
 public:
  static LogCapture& Instance() {
    static LogCapture* capture = [] {
      auto* made = new LogCapture;
      AddLogger(made);
      return made;
    }();
    return *capture;
  }

  void Write(const char16_t* text, size_t length) override {
    std::lock_guard guard(lock_);
    lines_.push_back(ToUtf8(std::u16string_view(text, length)));
  }

  // The lines written since the last call, as UTF-8.
  std::vector<std::string> Take() {
    std::lock_guard guard(lock_);
    return std::exchange(lines_, {});
  }

 private:
  std::mutex lock_;
  std::vector<std::string> lines_;
};
