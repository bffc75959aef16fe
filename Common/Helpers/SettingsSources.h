#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Common/ErrorHandling.h"

// Local settings: plain keys in sections, needed before any component runs
// (sections "General", "ErrorHandling", "Logger", "Debug").

// Returned by a source to end the search: the key is deliberately unset.
constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004);

class ISettingsSource {
 public:
  virtual ~ISettingsSource() = default;
  // 0 with the value, or 0x80070490 when the key is not here.
  virtual HRESULT Read(std::u16string_view section, std::u16string_view key,
                       std::u16string& value) = 0;
};

// The ini files searched for a key, first to last; the first file that has
// it ends the search. Files are read afresh on every look-up, so an edit is
// seen at once; a missing file reads as empty. An empty section means
// "General".
class IniSettingsSource : public ISettingsSource {
 public:
  explicit IniSettingsSource(std::vector<std::string> files) : files_(std::move(files)) {}

  // The search list of this process: $GLOBAL_SETTINGS_INI; then, with the
  // program's directory P and the library's directory L, P/<program>.ini,
  // P/<library>.ini (if the library is not the program), P/GlobalSettings.ini,
  // and where L differs from P, L/<library>.ini and L/GlobalSettings.ini.
  static std::vector<std::string> SearchList(const char* environmentFile,
                                             const std::string& programPath,
                                             const std::string& libraryPath);

  HRESULT Read(std::u16string_view section, std::u16string_view key,
               std::u16string& value) override;
  const std::vector<std::string>& files() const { return files_; }

 private:
  std::vector<std::string> files_;
};

// The process-wide chain of sources: the ini files first, then whatever is
// added. Thread-safe: the list's lock is held only to change or copy the
// list, never while a source is asked, so a source may itself log or read
// settings; a source removed during a read may still answer that read.
class SettingsSources {
 public:
  static SettingsSources& Instance();

  void AddSource(std::shared_ptr<ISettingsSource> source);
  void RemoveSource(const std::shared_ptr<ISettingsSource>& source);

  // Asks the sources from the last added to the first; the first success
  // ends it, and so does 0x80004004. 0x80070490 when none has the key.
  HRESULT Read(std::u16string_view section, std::u16string_view key, std::u16string& value);

 private:
  SettingsSources();

  std::mutex lock_;
  std::vector<std::shared_ptr<ISettingsSource>> sources_;
};

HRESULT ReadSetting(std::u16string_view section, std::u16string_view key, std::u16string& value);
std::u16string ReadSettingOrDefault(std::u16string_view section, std::u16string_view key,
                                    std::u16string_view defaultValue);

// `DataDirectoryPath` of "General" with environment variables ($NAME, ${NAME}
// and %NAME%) expanded; empty or relative values are taken below the
// library's directory. Ends without a '/'.
std::u16string GetDataDirectory();

// Expands $NAME, ${NAME} and %NAME% from the environment; a name that is
// not set stays as it is written.
std::u16string ExpandEnvironment(std::u16string_view text);
