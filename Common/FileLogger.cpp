#include "Common/FileLogger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "Common/FormatString.h"
#include "Common/Helpers/ModuleInfo.h"
#include "Common/LogLine.h"
#include "Common/LogManager.h"

namespace {

int64_t SteadyMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool WriteAll(int fd, const void* data, size_t size) {
  return ::write(fd, data, size) == static_cast<ssize_t>(size);
}

}  // namespace

FileLogger::FileLogger(LogManager& manager, std::string fileName)
    : manager_(manager),
      fileName_(fileName.empty() ? BaseNameOf(ModuleInfo::LibraryPath()) + ".log"
                                 : std::move(fileName)),
      absolute_(!fileName_.empty() && fileName_.front() == '/'),
      banner_(LogBanner()) {}

FileLogger::~FileLogger() {
  if (cached_ >= 0) ::close(cached_);
}

void FileLogger::Write(const char16_t* text, size_t length) {
  const int fd = Acquire();
  if (fd < 0) return;
  // The descriptor is this write's own, so a slow disk holds up no other thread.
  if (!WriteAll(fd, text, length * sizeof(char16_t))) {
    DebugOutput(FormatString(u"FileLogger: cannot write (error: 0x%08x)", HresultFromWin32(errno)));
  }
  ::close(fd);
}

int FileLogger::Acquire() {
  std::lock_guard guard(lock_);
  const uint32_t interval = manager_.KeepOpenIntervalMs();
  if (interval == 0) {
    CloseCached();
    return Open();
  }
  const int64_t now = ticks_ ? ticks_() : SteadyMilliseconds();
  if (cached_ < 0 || now - lastOpen_ >= interval) {
    CloseCached();
    lastOpen_ = now;
    cached_ = Open();
  }
  if (cached_ < 0) return -1;
  const int fd = ::fcntl(cached_, F_DUPFD_CLOEXEC, 0);
  if (fd < 0) {
    DebugOutput(FormatString(u"FileLogger: cannot duplicate handle (error: 0x%08x)",
                             HresultFromWin32(errno)));
  }
  return fd;
}

void FileLogger::CloseCached() {
  if (cached_ >= 0) ::close(cached_);
  cached_ = -1;
}

int FileLogger::Open() {
  const std::u16string directory = absolute_ ? std::u16string() : manager_.Directory();
  if (!absolute_ && directory.empty()) return -1;  // never below the current directory
  const std::string path = absolute_ ? fileName_ : ToUtf8(directory) + fileName_;
  const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) {
    DebugOutput(FormatString(u"FileLogger: cannot open log file '%s' (error: 0x%08x)", path,
                             HresultFromWin32(errno)));
    return -1;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    DebugOutput(
        FormatString(u"FileLogger: cannot get file id (error: 0x%08x)", HresultFromWin32(errno)));
    return fd;
  }
  const uint32_t threshold = manager_.SizeThresholdMB();
  if (threshold != 0) {
    const int64_t sizeMB = static_cast<int64_t>(info.st_size) >> 20;
    if (sizeMB >= threshold) {
      ::close(fd);
      if (!sizeReported_) {
        DebugOutput(FormatString(u"FileLogger: log file '%s' is too big (size=%dMB threshold=%dMB)",
                                 path, sizeMB, threshold));
        sizeReported_ = true;
      }
      return -1;
    }
    sizeReported_ = false;
  }
  if (!banner_.empty() && (info.st_dev != bannerDevice_ || info.st_ino != bannerInode_)) {
    bannerDevice_ = info.st_dev;
    bannerInode_ = info.st_ino;
    WriteAll(fd, banner_.data(), banner_.size() * sizeof(char16_t));
  }
  return fd;
}
