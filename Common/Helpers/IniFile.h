#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// An ini file read once: "[Section]" lines, "key=value" lines, ";" and "#"
// comment lines. Section and key names compare without regard to ASCII case,
// as the platform's profile functions do; blanks around names and values are
// trimmed. A missing or unreadable file reads as an empty one.
class IniFile {
 public:
  static IniFile Load(const std::string& path);
  static IniFile Parse(std::string_view utf8);

  // The value, or none when the key is absent or its value is empty.
  std::optional<std::u16string> Get(std::u16string_view section, std::u16string_view key) const;

 private:
  std::map<std::pair<std::u16string, std::u16string>, std::u16string> values_;
};
