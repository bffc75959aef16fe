#include "Common/Helpers/ModuleInfo.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include <fstream>
#include <sstream>

namespace {

std::string ReadLink(const char* path) {
  char buffer[4096];
  const ssize_t length = readlink(path, buffer, sizeof buffer - 1);
  return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
}

Dl_info ThisModule() {
  Dl_info info{};
  dladdr(reinterpret_cast<const void*>(&ReadLink), &info);
  return info;
}

}  // namespace

std::string ModuleInfo::ProgramPath() { return ReadLink("/proc/self/exe"); }

std::string ModuleInfo::LibraryPath() {
  const Dl_info info = ThisModule();
  if (!info.dli_fname || !*info.dli_fname) return ProgramPath();
  // dladdr names a module as it was opened, which may be relative.
  char resolved[PATH_MAX];
  return realpath(info.dli_fname, resolved) ? std::string(resolved) : ProgramPath();
}

const void* ModuleInfo::LibraryBase() { return ThisModule().dli_fbase; }

std::string ModuleInfo::CommandLine() {
  std::ifstream in("/proc/self/cmdline", std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  std::string line = content.str();
  while (!line.empty() && line.back() == '\0') line.pop_back();
  for (char& c : line) {
    if (c == '\0') c = ' ';
  }
  return line;
}

std::string DirectoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseNameOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = name.find('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}
