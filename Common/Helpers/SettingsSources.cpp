#include "Common/Helpers/SettingsSources.h"

#include <cstdlib>
#include <filesystem>

#include "Common/Helpers/IniFile.h"
#include "Common/Helpers/ModuleInfo.h"
#include "Common/Text.h"

namespace {

bool IsNameChar(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') ||
         c == u'_';
}

// Appends the variable's value, or `written` when it is not set.
void AppendVariable(std::u16string& out, std::u16string_view name, std::u16string_view written) {
  const char* value = name.empty() ? nullptr : std::getenv(ToUtf8(name).c_str());
  if (value) {
    out += ToUtf16(value);
  } else {
    out += written;
  }
}

}  // namespace

std::vector<std::string> IniSettingsSource::SearchList(const char* environmentFile,
                                                       const std::string& programPath,
                                                       const std::string& libraryPath) {
  std::vector<std::string> files;
  if (environmentFile && *environmentFile) files.push_back(environmentFile);
  const std::string programDir = DirectoryOf(programPath);
  const std::string libraryDir = DirectoryOf(libraryPath);
  files.push_back(programDir + "/" + BaseNameOf(programPath) + ".ini");
  if (libraryPath != programPath)
    files.push_back(programDir + "/" + BaseNameOf(libraryPath) + ".ini");
  files.push_back(programDir + "/GlobalSettings.ini");
  if (libraryDir != programDir) {
    files.push_back(libraryDir + "/" + BaseNameOf(libraryPath) + ".ini");
    files.push_back(libraryDir + "/GlobalSettings.ini");
  }
  return files;
}

HRESULT IniSettingsSource::Read(std::u16string_view section, std::u16string_view key,
                                std::u16string& value) {
  if (section.empty()) section = u"General";
  for (const auto& file : files_) {
    if (auto found = IniFile::Load(file).Get(section, key)) {
      value = std::move(*found);
      return S_OK;
    }
  }
  return E_NOTFOUND;
}

SettingsSources::SettingsSources() {
  sources_.push_back(std::make_shared<IniSettingsSource>(IniSettingsSource::SearchList(
      std::getenv("GLOBAL_SETTINGS_INI"), ModuleInfo::ProgramPath(), ModuleInfo::LibraryPath())));
}

SettingsSources& SettingsSources::Instance() {
  static SettingsSources* instance = new SettingsSources;  // lives until exit; loggers read it late
  return *instance;
}

void SettingsSources::AddSource(std::shared_ptr<ISettingsSource> source) {
  std::lock_guard guard(lock_);
  sources_.push_back(std::move(source));
}

void SettingsSources::RemoveSource(const std::shared_ptr<ISettingsSource>& source) {
  std::lock_guard guard(lock_);
  std::erase(sources_, source);
}

HRESULT SettingsSources::Read(std::u16string_view section, std::u16string_view key,
                              std::u16string& value) {
  // Called on a copy: a source may log, read settings or take locks of its
  // own, and a lock held across it would tie those to every other reader.
  std::vector<std::shared_ptr<ISettingsSource>> sources;
  {
    std::lock_guard guard(lock_);
    sources = sources_;
  }
  for (auto it = sources.rbegin(); it != sources.rend(); ++it) {
    const HRESULT status = (*it)->Read(section, key, value);
    if (Succeeded(status) || status == E_ABORT) return status;
  }
  return E_NOTFOUND;
}

HRESULT ReadSetting(std::u16string_view section, std::u16string_view key, std::u16string& value) {
  return SettingsSources::Instance().Read(section, key, value);
}

std::u16string ReadSettingOrDefault(std::u16string_view section, std::u16string_view key,
                                    std::u16string_view defaultValue) {
  std::u16string value;
  return Succeeded(ReadSetting(section, key, value)) ? value : std::u16string(defaultValue);
}

std::u16string ExpandEnvironment(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const char16_t c = text[i];
    if (c == u'%') {
      const size_t end = text.find(u'%', i + 1);
      if (end != std::u16string_view::npos && end > i + 1) {
        AppendVariable(out, text.substr(i + 1, end - i - 1), text.substr(i, end - i + 1));
        i = end + 1;
        continue;
      }
    } else if (c == u'$' && i + 1 < text.size() && text[i + 1] == u'{') {
      const size_t end = text.find(u'}', i + 2);
      if (end != std::u16string_view::npos) {
        AppendVariable(out, text.substr(i + 2, end - i - 2), text.substr(i, end - i + 1));
        i = end + 1;
        continue;
      }
    } else if (c == u'$') {
      size_t end = i + 1;
      while (end < text.size() && IsNameChar(text[end])) ++end;
      if (end > i + 1) {
        AppendVariable(out, text.substr(i + 1, end - i - 1), text.substr(i, end - i));
        i = end;
        continue;
      }
    }
    out += c;
    ++i;
  }
  return out;
}

std::u16string GetDataDirectory() {
  std::u16string path =
      ExpandEnvironment(ReadSettingOrDefault(u"General", u"DataDirectoryPath", u""));
  const std::u16string libraryDir = ToUtf16(DirectoryOf(ModuleInfo::LibraryPath()));
  if (path.empty()) return libraryDir;
  if (path.front() != u'/') path = libraryDir + u"/" + path;
  while (path.size() > 1 && path.back() == u'/') path.pop_back();
  return path;
}
