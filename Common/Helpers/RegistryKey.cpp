#include "Common/Helpers/RegistryKey.h"

namespace {

struct Root {
  std::u16string_view name;
  uint32_t key;
};

constexpr Root kPathRoots[] = {
    {u"HKLM", kHkeyLocalMachine},
    {u"HKEY_LOCAL_MACHINE", kHkeyLocalMachine},
    {u"HKCU", kHkeyCurrentUser},
    {u"HKEY_CURRENT_USER", kHkeyCurrentUser},
};

constexpr Root kKeyRoots[] = {
    {u"HKCR", kHkeyClassesRoot},  {u"HKEY_CLASSES_ROOT", kHkeyClassesRoot},
    {u"HKLM", kHkeyLocalMachine}, {u"HKEY_LOCAL_MACHINE", kHkeyLocalMachine},
    {u"HKCU", kHkeyCurrentUser},  {u"HKEY_CURRENT_USER", kHkeyCurrentUser},
    {u"HKEY_USERS", kHkeyUsers},
};

template <size_t N>
bool CutRoot(std::u16string& path, uint32_t& rootKey, const Root (&roots)[N]) {
  const size_t separator = path.find_first_of(u"\\/");
  const std::u16string_view head = std::u16string_view(path).substr(0, separator);
  for (const auto& root : roots) {
    if (root.name != head) continue;
    rootKey = root.key;
    path = separator == std::u16string::npos ? std::u16string() : path.substr(separator + 1);
    return true;
  }
  return false;
}

}  // namespace

bool ParseRegistryPath(std::u16string& path, uint32_t& rootKey) { return CutRoot(path, rootKey, kPathRoots); }

HRESULT CRegistryKey::Open(std::u16string_view path) {
  std::u16string rest(path);
  uint32_t root = 0;
  if (!CutRoot(rest, root, kKeyRoots)) return E_INVALIDARG;
  root_ = root;
  subKey_ = std::move(rest);
  return S_OK;
}

HRESULT CRegistryKey::ReadString(std::u16string_view, std::u16string&) const { return E_FILE_NOT_FOUND; }
