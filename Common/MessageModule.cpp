#include "Common/MessageModule.h"

#include <fstream>

#include "Common/Text.h"

MessageModule MessageModule::BuiltIn() {
  MessageModule module;
  module.texts_ = {
      {0x80040C0E, u"The group condition is not valid: a group must be named by its identifier."},
      {0x80047F01, u"The group membership tables manager is not available yet."},
      {0x80047F03, u"The component is shutting down."},
  };
  return module;
}

HRESULT MessageModule::Load(const std::string& path, MessageModule& module) {
  std::ifstream in(path);
  if (!in) return E_FILE_NOT_FOUND;
  module.texts_.clear();
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line[start] == '#') continue;
    char* end = nullptr;
    const unsigned long code = std::strtoul(line.c_str() + start, &end, 16);
    const size_t textStart = line.find_first_not_of(" \t", static_cast<size_t>(end - line.c_str()));
    if (end == line.c_str() + start || textStart == std::string::npos || end == line.c_str() + textStart) {
      return E_INVALID_DATA;
    }
    module.texts_[static_cast<uint32_t>(code)] = ToUtf16(line.substr(textStart));
  }
  return S_OK;
}

std::optional<std::u16string> MessageModule::Find(uint32_t code) const {
  auto it = texts_.find(code);
  if (it == texts_.end()) return std::nullopt;
  return it->second;
}
