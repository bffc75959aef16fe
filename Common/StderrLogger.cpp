#include "Common/StderrLogger.h"

#include <unistd.h>

#include "Common/Text.h"

void StderrLogger::Write(const char16_t* text, size_t length) {
  const std::string line = ToUtf8(std::u16string_view(text, length));
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}
