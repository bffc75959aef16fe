#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "Common/ErrorHandling.h"

// Texts of status codes from one message file: a text file of lines
//   0x80040C0E<blanks or tab>The group condition is not valid.
// Blank lines and lines starting with '#' are skipped. The name
// "Faulttexts.dll" stands for the texts built into the library.
class MessageModule {
 public:
  // 0x80070002 for a file that cannot be read, 0x8007000D for a bad line.
  static HRESULT Load(const std::string& path, MessageModule& module);
  static MessageModule BuiltIn();

  std::optional<std::u16string> Find(uint32_t code) const;

 private:
  std::unordered_map<uint32_t, std::u16string> texts_;
};
