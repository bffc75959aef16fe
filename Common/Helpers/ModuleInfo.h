#pragma once

#include <string>

// Facts about the running program and the module this library is linked
// into (the program itself when linked statically, else the shared object).
struct ModuleInfo {
  static std::string ProgramPath();  // the executable's full path
  static std::string LibraryPath();  // the module holding this code
  static const void* LibraryBase();  // where that module is loaded
  static std::string CommandLine();  // the arguments, joined by blanks
};

// "dir/name.ext" -> "dir", "name" ; a path without '/' has the directory ".".
std::string DirectoryOf(const std::string& path);
std::string BaseNameOf(const std::string& path);
