#include "Common/LogManager.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include "Common/FileLogger.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/LogLine.h"
#include "Common/LogScope.h"

namespace {

constexpr int64_t kRefreshIntervalMs = 5000;

// The manager whose settings this thread is reading, if any.
thread_local const LogManager* refreshing = nullptr;

int64_t SteadyMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

uint32_t ReadNumber(std::u16string_view key, uint32_t defaultValue) {
  const std::string text = ToUtf8(ReadSettingOrDefault(u"Logger", key, u""));
  char* end = nullptr;
  const unsigned long value = std::strtoul(text.c_str(), &end, 10);
  return text.empty() || *end ? defaultValue : static_cast<uint32_t>(value);
}

}  // namespace

LogManager& LogManager::Instance() {
  // Made once and never destroyed: code that runs during exit may still log.
  static LogManager* instance = [] {
    auto* manager = new LogManager;
    manager->publishes_ = true;
    manager->AddLogger(new FileLogger(*manager));
    return manager;
  }();
  return *instance;
}

bool LogManager::AddLogger(Logger* logger) {
  for (auto& slot : slots_) {
    Logger* expected = nullptr;
    if (slot.compare_exchange_strong(expected, logger)) return true;
  }
  DebugOutput(u"LogManager: Too many loggers");
  return false;
}

bool LogManager::IsEnabled(Severity severity) {
  const int value = static_cast<int>(severity);
  if (value < 1) return false;
  if (!refreshed_.load(std::memory_order_acquire)) {
    FirstRefresh();
  } else if (Now() - lastRefresh_.load(std::memory_order_relaxed) > kRefreshIntervalMs) {
    LaterRefresh();
  }
  return value <= maxSeverity_.load(std::memory_order_relaxed);
}

void LogManager::SetMaxSeverityOverride(Severity severity) {
  override_ = static_cast<int>(severity);
  SetMaxSeverity(static_cast<int>(severity));
}

void LogManager::SetMaxSeverity(int severity) {
  maxSeverity_ = severity;
  if (publishes_) LogDetail::maxSeverity = severity;
}

int64_t LogManager::Now() const { return ticks_ ? ticks_() : SteadyMilliseconds(); }

void LogManager::Refresh() {
  if (refreshing == this) return;
  std::lock_guard guard(refreshLock_);
  Load();
}

// Every thread waits here until the settings are in, so that no line is
// written at the default severity or into a directory not yet known.
void LogManager::FirstRefresh() {
  if (refreshing == this) return;  // a line logged by the settings code itself
  std::lock_guard guard(refreshLock_);
  if (!refreshed_.load(std::memory_order_relaxed)) Load();
}

// A later refresh is one thread's job; the others go on with the values in
// place, which are complete.
void LogManager::LaterRefresh() {
  if (refreshing == this) return;
  std::unique_lock guard(refreshLock_, std::try_to_lock);
  if (!guard.owns_lock()) return;
  if (Now() - lastRefresh_.load(std::memory_order_relaxed) > kRefreshIntervalMs) Load();
}

void LogManager::Load() {
  const LogManager* outer = std::exchange(refreshing, this);
  try {
    LoadSettings();
  } catch (...) {
    DebugOutput(u"LogManager: cannot read the settings");  // logging never raises
  }
  lastRefresh_.store(Now(), std::memory_order_relaxed);
  refreshed_.store(true, std::memory_order_release);  // publishes what LoadSettings stored
  refreshing = outer;
}

void LogManager::LoadSettings() {
  Severity severity = Severity::DBG;
  ParseSeverity(ReadSettingOrDefault(u"Logger", u"MaxSeverity", u"DBG"), severity);
  SetMaxSeverity(override_ >= 0 ? override_.load() : static_cast<int>(severity));
  sizeThresholdMB_ = ReadNumber(u"LogFileSizeThresholdMB", 1024);
  keepOpenMs_ = ReadNumber(u"KeepOpenInterval", 5000);
  StoreDirectory(ReadSettingOrDefault(u"Logger", u"Path", u"Logs"));
}

void LogManager::StoreDirectory(std::u16string path) {
  for (char16_t& c : path) {
    if (c == u'\\') c = u'/';
  }
  if (path.empty() || path.front() != u'/') path = GetDataDirectory() + u"/" + path;
  if (path.back() != u'/') path += u'/';
  std::lock_guard guard(directoryLock_);
  if (path == directory_) return;
  directory_ = path;
  std::error_code ignored;
  std::filesystem::create_directories(ToUtf8(path), ignored);
}

std::u16string LogManager::Directory() {
  std::lock_guard guard(directoryLock_);
  return directory_;
}

void LogManager::Log(Severity severity, std::u16string_view text, const char* file, int line,
                     Logger* logger) {
  const std::u16string formatted = FormatLogLine(CurrentLogLineFields(
      severity, file ? file : "", static_cast<unsigned>(line), LogScope::ThreadIndent(), text));
  if (logger) {
    logger->Write(formatted.data(), formatted.size());
    return;
  }
  for (auto& slot : slots_) {
    if (Logger* target = slot.load()) target->Write(formatted.data(), formatted.size());
  }
}
