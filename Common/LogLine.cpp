#include "Common/LogLine.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>

#include "Common/FormatString.h"
#include "Common/Helpers/ModuleInfo.h"

namespace {

constexpr unsigned kFileColumn = 26;

std::string_view FileName(std::string_view path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::u16string FormatLogLine(const LogLineFields& f) {
  // Cut to what the format's precision takes, so that no name can fail a line.
  const std::string_view file = FileName(f.file).substr(0, kMaxFormatWidth);
  const unsigned width =
      4 + (file.size() < kFileColumn ? kFileColumn - static_cast<unsigned>(file.size()) : 0);
  const int indent = f.indent < 0 ? 0 : f.indent > 30 ? 30 : f.indent;
  return FormatString(
      u"%04u-%02u-%02u %02u:%02u:%02u.%03u%04u | %-4.4s |%5u %5u | %.*s:%-*u| %*s%s\r\n",
      f.local.tm_year + 1900, f.local.tm_mon + 1, f.local.tm_mday, f.local.tm_hour, f.local.tm_min,
      f.local.tm_sec, f.millisecond, f.ticks, SeverityName(f.severity), f.threadId & 0xFFFF,
      f.processId & 0xFFFF, static_cast<int>(file.size()), file, width, f.line, indent * 2, u"",
      f.text);
}

LogLineFields CurrentLogLineFields(Severity severity, std::string_view file, unsigned line,
                                   int indent, std::u16string_view text) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  const std::time_t seconds = static_cast<std::time_t>(ns / 1000000000);
  LogLineFields fields;
  localtime_r(&seconds, &fields.local);
  fields.millisecond = static_cast<unsigned>(ns / 1000000 % 1000);
  fields.ticks = static_cast<unsigned>(ns / 100 % 10000);
  fields.severity = severity;
  fields.threadId = static_cast<uint32_t>(syscall(SYS_gettid));
  fields.processId = static_cast<uint32_t>(getpid());
  fields.file = file;
  fields.line = line;
  fields.indent = indent;
  fields.text = text;
  return fields;
}

std::u16string LogBanner() {
  const std::u16string stars(100, u'*');
  return stars + u"\r\n" +
         FormatString(
             u"*** Module: %s (Base: 0x%p)\r\n*** Version: %d.%d.%d.%d\r\n*** Module description: "
             u"%s\r\n"
             u"*** Process: %s (Pid: %u)\r\n*** Command line: %s\r\n",
             ModuleInfo::LibraryPath(), ModuleInfo::LibraryBase(), SCRIPTWRIGHT_VERSION_MAJOR,
             SCRIPTWRIGHT_VERSION_MINOR, SCRIPTWRIGHT_VERSION_PATCH, 0,
             u"Scriptwright query preparation library", ModuleInfo::ProgramPath(),
             static_cast<uint32_t>(getpid()), ModuleInfo::CommandLine()) +
         stars + u"\r\n";
}
