#include "Common/Helpers/IniFile.h"

#include <fstream>
#include <sstream>

#include "Common/Text.h"

namespace {

std::string_view Trim(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::u16string Folded(std::u16string_view text) {
  std::u16string folded(text);
  for (char16_t& c : folded) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
  }
  return folded;
}

}  // namespace

IniFile IniFile::Load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return IniFile();
  std::stringstream content;
  content << in.rdbuf();
  return Parse(content.str());
}

IniFile IniFile::Parse(std::string_view utf8) {
  IniFile file;
  if (utf8.starts_with("\xEF\xBB\xBF")) utf8.remove_prefix(3);
  std::u16string section;
  while (!utf8.empty()) {
    const size_t end = utf8.find('\n');
    const std::string_view line = Trim(utf8.substr(0, end));
    utf8 = end == std::string_view::npos ? std::string_view() : utf8.substr(end + 1);
    if (line.empty() || line[0] == ';' || line[0] == '#') continue;
    if (line.front() == '[' && line.back() == ']') {
      section = Folded(ToUtf16(Trim(line.substr(1, line.size() - 2))));
      continue;
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const auto key = std::make_pair(section, Folded(ToUtf16(Trim(line.substr(0, equals)))));
    file.values_.emplace(key, ToUtf16(Trim(line.substr(equals + 1))));  // the first one stands
  }
  return file;
}

std::optional<std::u16string> IniFile::Get(std::u16string_view section, std::u16string_view key) const {
  auto it = values_.find({Folded(section), Folded(key)});
  if (it == values_.end() || it->second.empty()) return std::nullopt;
  return it->second;
}
