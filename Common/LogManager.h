#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "Common/Logger.h"

// The process's log: up to four loggers and the settings of section
// "Logger", which are looked at anew at most every 5 seconds:
//
//   MaxSeverity             NONE ... DBG3, default DBG (an unknown name keeps it)
//   Path                    log directory, default "Logs"; relative paths lie
//                           below the data directory
//   LogFileSizeThresholdMB  a file this big is no longer written; 0: no limit (1024)
//   KeepOpenInterval        ms a file stays open for reuse; 0: open per line (5000)
//
// The process's manager starts with one FileLogger, named after the module.
//
// Thread-safe. IsEnabled reads atomics only, apart from the refresh. The
// first refresh is made by the first caller while every other caller waits
// for it, so no line is written at the default severity or below a directory
// not yet read; a statement logged by the settings code itself, on the
// refreshing thread, sees the defaults. Later refreshes are made by one
// thread while the others go on with the values in place. A failure to read
// the settings keeps the values in place and never raises.
class LogManager {
 public:
  static LogManager& Instance();

  // A manager with no logger; tests make their own.
  LogManager() = default;

  bool AddLogger(Logger* logger);
  bool IsEnabled(Severity severity);
  void Log(Severity severity, std::u16string_view text, const char* file, int line, Logger* logger);
  void SetMaxSeverityOverride(Severity severity);

  // The directory for relative log file names, with a trailing '/'.
  std::u16string Directory();
  uint32_t SizeThresholdMB() const { return sizeThresholdMB_.load(std::memory_order_relaxed); }
  uint32_t KeepOpenIntervalMs() const { return keepOpenMs_.load(std::memory_order_relaxed); }

  // A clock of milliseconds for the refresh; tests step it by hand. Set it
  // before the manager is shared.
  using TickSource = int64_t (*)();
  void SetTickSource(TickSource ticks) { ticks_ = ticks; }
  // Looks at the settings now (waits for a refresh under way).
  void Refresh();

 private:
  int64_t Now() const;
  void FirstRefresh();
  void LaterRefresh();
  void Load();  // with refreshLock_ held
  void LoadSettings();
  void StoreDirectory(std::u16string path);
  void SetMaxSeverity(int severity);

  bool publishes_ = false;  // the process's manager feeds the inline check
  std::array<std::atomic<Logger*>, 4> slots_{};
  std::atomic<int> maxSeverity_{static_cast<int>(Severity::DBG)};
  std::atomic<int> override_{-1};
  std::mutex refreshLock_;              // one refresh at a time
  std::atomic<bool> refreshed_{false};  // released once the first refresh has stored all
  std::atomic<int64_t> lastRefresh_{0};
  std::atomic<uint32_t> sizeThresholdMB_{1024};
  std::atomic<uint32_t> keepOpenMs_{5000};
  std::mutex directoryLock_;
  std::u16string directory_;  // guarded by directoryLock_
  TickSource ticks_ = nullptr;
};
