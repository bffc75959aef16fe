#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>

#include "Common/Logger.h"

class LogManager;

// Appends log lines to one file as UTF-16LE (no byte-order mark), one write
// per line on a descriptor opened for append, so lines of several threads and
// processes never mix.
//
// The file is the given name, below the manager's log directory unless
// absolute; by default the module's base name plus ".log" (libscriptwright.log
// for the shared library). A relative name is not written before the manager
// knows its directory. A descriptor is kept for the manager's
// KeepOpenInterval and closed as soon as the interval is 0, which opens the
// file for each line. A file that has reached LogFileSizeThresholdMB is not
// written to: the line is lost and one message goes to standard error, until
// the file is moved away. Each new file (a new inode) starts with the banner,
// written when the file is opened and so before any line.
//
// Thread-safe, and never raises. The lock guards the cached descriptor only:
// each line is written on a duplicate of it, outside the lock.
class FileLogger : public Logger {
 public:
  explicit FileLogger(LogManager& manager, std::string fileName = {});
  ~FileLogger() override;

  void Write(const char16_t* text, size_t length) override;

  // A clock of milliseconds for the keep-open interval; tests step it.
  using TickSource = int64_t (*)();
  void SetTickSource(TickSource ticks) { ticks_ = ticks; }

 private:
  int Open();     // -1 when there is no file to write to
  int Acquire();  // a descriptor the caller closes, or -1
  void CloseCached();

  LogManager& manager_;
  std::string fileName_;
  bool absolute_;
  std::u16string banner_;
  std::mutex lock_;
  int cached_ = -1;            // guarded by lock_
  int64_t lastOpen_ = 0;       // guarded by lock_
  dev_t bannerDevice_ = 0;     // guarded by lock_
  ino_t bannerInode_ = 0;      // guarded by lock_
  bool sizeReported_ = false;  // guarded by lock_
  TickSource ticks_ = nullptr;
};
