#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "Common/Helpers/IniFile.h"
#include "Common/Helpers/RegistryKey.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Text.h"

namespace {

namespace fs = std::filesystem;

TEST(SettingsTest, SearchList) {
  EXPECT_EQ(IniSettingsSource::SearchList("/etc/custom.ini", "/opt/app/bin/host",
                                          "/opt/app/lib/libscriptwright.so"),
            (std::vector<std::string>{
                "/etc/custom.ini", "/opt/app/bin/host.ini", "/opt/app/bin/libscriptwright.ini",
                "/opt/app/bin/GlobalSettings.ini", "/opt/app/lib/libscriptwright.ini",
                "/opt/app/lib/GlobalSettings.ini"}));
  EXPECT_EQ(
      IniSettingsSource::SearchList(nullptr, "/opt/app/scriptwright", "/opt/app/scriptwright"),
      (std::vector<std::string>{"/opt/app/scriptwright.ini", "/opt/app/GlobalSettings.ini"}));
  EXPECT_EQ(IniSettingsSource::SearchList("", "/a/x", "/a/liby.so").size(), 3u);
}

TEST(SettingsTest, FirstFileWithTheKeyWins) {
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-ini-" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "first.ini") << "[Logger]\nMaxSeverity=\n; comment\nPath = Logs/First \n";
  std::ofstream(dir / "second.ini")
      << "\xEF\xBB\xBF[logger]\r\nmaxseverity=INFO\r\nPath=Second\r\n[General]\nKey=g\n";
  IniSettingsSource source({(dir / "first.ini").string(), (dir / "missing.ini").string(),
                            (dir / "second.ini").string()});
  struct Case {
    std::u16string section, key;
    HRESULT status;
    std::string value;
  } cases[] = {
      {u"Logger", u"Path", S_OK, "Logs/First"},
      {u"Logger", u"MaxSeverity", S_OK, "INFO"},  // empty counts as absent
      {u"", u"Key", S_OK, "g"},                   // no section means General
      {u"Logger", u"Nope", E_NOTFOUND, ""},
  };
  for (const auto& c : cases) {
    std::u16string value;
    EXPECT_EQ(source.Read(c.section, c.key, value), c.status) << ToUtf8(c.key);
    EXPECT_EQ(ToUtf8(value), c.value) << ToUtf8(c.key);
  }
  fs::remove_all(dir);
}

TEST(SettingsTest, LaterSourcesAskedFirstAndAbortEndsTheSearch) {
  struct Fixed : ISettingsSource {
    HRESULT status;
    std::u16string text;
    Fixed(HRESULT s, std::u16string t) : status(s), text(std::move(t)) {}
    HRESULT Read(std::u16string_view, std::u16string_view key, std::u16string& value) override {
      if (key != u"Probe") return E_NOTFOUND;
      value = text;
      return status;
    }
  };
  auto low = std::make_shared<Fixed>(S_OK, u"low");
  auto high = std::make_shared<Fixed>(S_OK, u"high");
  auto& sources = SettingsSources::Instance();
  sources.AddSource(low);
  sources.AddSource(high);
  EXPECT_EQ(ToUtf8(ReadSettingOrDefault(u"General", u"Probe", u"none")), "high");
  auto stop = std::make_shared<Fixed>(E_ABORT, u"");
  sources.AddSource(stop);
  std::u16string value;
  EXPECT_EQ(ReadSetting(u"General", u"Probe", value), E_ABORT);
  EXPECT_EQ(ToUtf8(ReadSettingOrDefault(u"General", u"Probe", u"none")), "none");
  for (auto source : {stop, high, low}) sources.RemoveSource(source);
}

// A source may read settings on another thread and wait for the answer (a
// source that logs does so through the log's refresh); the chain must not
// hold its lock across the call, or the two threads wait on each other.
TEST(SettingsSourcesThreadsTest, ASourceMayWaitForAReadOnAnotherThread) {
  struct Relay : ISettingsSource {
    std::mutex lock;
    std::condition_variable changed;
    bool innerDone = false;
    std::thread inner;
    HRESULT Read(std::u16string_view, std::u16string_view key, std::u16string& value) override {
      if (key == u"Inner") {
        value = u"inner";
        return S_OK;
      }
      if (key != u"Outer") return E_NOTFOUND;
      inner = std::thread([this] {
        std::u16string ignored;
        ReadSetting(u"Test", u"Inner", ignored);
        std::lock_guard guard(lock);
        innerDone = true;
        changed.notify_all();
      });
      std::unique_lock guard(lock);
      changed.wait_for(guard, std::chrono::seconds(5), [this] { return innerDone; });
      value = innerDone ? u"answered" : u"stuck";
      return S_OK;
    }
  };
  auto relay = std::make_shared<Relay>();
  SettingsSources::Instance().AddSource(relay);
  std::u16string value;
  EXPECT_EQ(ReadSetting(u"Test", u"Outer", value), S_OK);
  SettingsSources::Instance().RemoveSource(relay);
  if (relay->inner.joinable()) relay->inner.join();
  EXPECT_EQ(ToUtf8(value), "answered");
}

TEST(SettingsTest, EnvironmentExpansion) {
  setenv("SCRIPTWRIGHT_TEST_DIR", "/data", 1);
  unsetenv("SCRIPTWRIGHT_UNSET");
  struct Case {
    std::u16string in;
    std::string out;
  } cases[] = {
      {u"$SCRIPTWRIGHT_TEST_DIR/logs", "/data/logs"},
      {u"${SCRIPTWRIGHT_TEST_DIR}x", "/datax"},
      {u"%SCRIPTWRIGHT_TEST_DIR%\\x", "/data\\x"},
      {u"%SCRIPTWRIGHT_UNSET%/$SCRIPTWRIGHT_UNSET", "%SCRIPTWRIGHT_UNSET%/$SCRIPTWRIGHT_UNSET"},
      {u"100% $", "100% $"},
  };
  for (const auto& c : cases) EXPECT_EQ(ToUtf8(ExpandEnvironment(c.in)), c.out) << ToUtf8(c.in);
}

TEST(RegistryPathTest, RootsAreExact) {
  struct Case {
    std::u16string path;
    bool parsed;
    uint32_t root;
    std::string rest;
  } cases[] = {
      {u"HKLM\\Software\\Vendor", true, kHkeyLocalMachine, "Software\\Vendor"},
      {u"HKEY_CURRENT_USER/Software", true, kHkeyCurrentUser, "Software"},
      {u"hklm\\Software", false, 0, "hklm\\Software"},
      {u"HKCR\\x", false, 0, "HKCR\\x"},  // only the key object knows HKCR
  };
  for (auto c : cases) {
    uint32_t root = 0;
    EXPECT_EQ(ParseRegistryPath(c.path, root), c.parsed);
    EXPECT_EQ(root, c.root);
    EXPECT_EQ(ToUtf8(c.path), c.rest);
  }
  CRegistryKey key;
  EXPECT_EQ(key.Open(u"HKCR\\x"), S_OK);
  std::u16string value;
  EXPECT_EQ(key.ReadString(u"v", value), E_FILE_NOT_FOUND);
  EXPECT_EQ(key.Open(u"HKXX\\x"), E_INVALIDARG);
}

}  // namespace
