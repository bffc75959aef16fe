#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Common/ErrorHandling.h"

// Registry paths such as "HKLM\Software\Vendor". Linux has no registry: the
// path is parsed so that settings naming one stay valid, but every key opens
// empty and no value is ever found, so an override read from one has no
// effect.

constexpr uint32_t kHkeyClassesRoot = 0x80000000;
constexpr uint32_t kHkeyCurrentUser = 0x80000001;
constexpr uint32_t kHkeyLocalMachine = 0x80000002;
constexpr uint32_t kHkeyUsers = 0x80000003;

// Cuts the root name ("HKLM", "HKEY_LOCAL_MACHINE", "HKCU",
// "HKEY_CURRENT_USER"; exact case) off `path` at the first '\' or '/'. On a
// match sets `rootKey`, leaves the rest in `path` and returns true.
bool ParseRegistryPath(std::u16string& path, uint32_t& rootKey);

// A scope object over one key.
class CRegistryKey {
 public:
  // Parses "ROOT\sub\key"; the roots also include "HKCR", "HKEY_CLASSES_ROOT"
  // and "HKEY_USERS". 0x80070057 for an unknown root.
  HRESULT Open(std::u16string_view path);
  // Always 0x80070002 here: there are no values to read.
  HRESULT ReadString(std::u16string_view name, std::u16string& value) const;

 private:
  std::optional<uint32_t> root_;
  std::u16string subKey_;
};
