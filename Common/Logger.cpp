#include "Common/Logger.h"

#include <cstdio>

#include "Common/LogManager.h"

std::u16string_view SeverityName(Severity severity) {
  static constexpr std::u16string_view kNames[] = {u"NONE", u"CRIT", u"ERR",  u"WARN",
                                                   u"INFO", u"DBG",  u"DBG2", u"DBG3"};
  const int index = static_cast<int>(severity);
  return index >= 0 && index < 8 ? kNames[index] : u"";
}

bool ParseSeverity(std::u16string_view name, Severity& severity) {
  for (int i = 0; i < 8; ++i) {
    if (SeverityName(static_cast<Severity>(i)) == name) {
      severity = static_cast<Severity>(i);
      return true;
    }
  }
  return false;
}

bool LogDetail::IsEnabledSlow(Severity severity) {
  callsUntilRefreshCheck = 255;
  return LogManager::Instance().IsEnabled(severity);
}

void Log(Severity severity, std::u16string_view text, const char* file, int line, Logger* logger) {
  LogManager::Instance().Log(severity, text, file, line, logger);
}

bool AddLogger(Logger* logger) { return LogManager::Instance().AddLogger(logger); }

void SetMaxSeverity(Severity severity) { LogManager::Instance().SetMaxSeverityOverride(severity); }

void DebugOutput(std::u16string_view text) {
  const std::string line = ToUtf8(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}
