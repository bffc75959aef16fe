#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Common/ErrorHandling.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Logger.h"
#include "Common/MessageCache.h"
#include "Common/MessageModule.h"
#include "Common/MessageModules.h"
#include "Common/Text.h"
#include "tests/Common/LogCapture.h"

namespace {

namespace fs = std::filesystem;

TEST(ErrorHandlingTest, HresultFromWin32) {
  EXPECT_EQ(HresultFromWin32(0), 0);
  EXPECT_EQ(HresultFromWin32(-5), -5);
  EXPECT_EQ(HresultFromWin32(1168), E_NOTFOUND);
  EXPECT_EQ(HresultFromWin32(258), E_TIMEOUT);
}

TEST(ErrorHandlingTest, SettingAStatus) {
  ReportError(E_FAIL, u": pending");
  HRES ok(0);  // a success leaves the pending information alone
  EXPECT_EQ(ok.code(), 0);
  try {
    HRES failing(E_FAIL);
    FAIL();
  } catch (const HRX& failure) {
    EXPECT_EQ(ToUtf8(FormatStatus(failure, kOmitLocation)),
              "0x80004005 Unspecified error: pending");
    EXPECT_NE(failure.frames()[0], nullptr);
  }
  EXPECT_FALSE(GetErrorInfo());  // taken by the failing status

  ReportError(E_INVALIDARG, u" (other)");
  try {
    Check(E_FAIL);  // information about another code is not used
  } catch (const HRX& failure) {
    EXPECT_EQ(ToUtf8(FormatStatus(failure, kOmitLocation)), "0x80004005 Unspecified error");
  }
}

TEST(ErrorHandlingTest, FormatStatusFlagsAndReport) {
  try {
    ThrowError(E_NOTFOUND, u": attribute 'x'");
  } catch (const HRX& failure) {
    const std::string full = ToUtf8(FormatStatus(failure));
    EXPECT_EQ(full.rfind("0x80070490 Element not found: attribute 'x' [0x", 0), 0u) << full;
    EXPECT_EQ(ToUtf8(FormatStatus(failure, kOmitCode | kOmitLocation)),
              "Element not found: attribute 'x'");
    EXPECT_EQ(ToUtf8(FormatStatus(failure, kOmitDescription | kOmitLocation)), "0x80070490 ");
    EXPECT_EQ(failure.Report(), E_NOTFOUND);
    auto info = GetErrorInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->source, kErrorInfoSource);
    EXPECT_EQ(ToUtf8(info->description), "Element not found: attribute 'x'");
  }
  EXPECT_EQ(ToUtf8(FormatStatus(HRES::Quiet(E_FAIL), kOmitLocation)),
            "0x80004005 Unspecified error");
}

TEST(ErrorHandlingTest, Descriptions) {
  struct Case {
    uint32_t code;
    std::string text;
  } cases[] = {
      {0x80070057, "The parameter is incorrect"},  // trailing "." trimmed
      {0x80040C0E, "The group condition is not valid: a group must be named by its identifier"},
      {0x80047F03, "The component is shutting down"},
      {0x80041234, "<no description>"},
      {0x8007ABCD, "<no description>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(GetDescription(static_cast<HRESULT>(c.code))), c.text);
    EXPECT_EQ(ToUtf8(GetDescription(static_cast<HRESULT>(c.code))), c.text);  // from the cache
  }
}

TEST(MessageModulesTest, FilesSlotsAndFallback) {
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-msg-" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "texts.txt")
      << "# comment\n0x80041234\tA text of ours. \r\n\n0x0000ABCD  Win32 text.\n";
  std::ofstream(dir / "bad.txt") << "not a code line\n";
  MessageModule module;
  ASSERT_EQ(MessageModule::Load((dir / "texts.txt").string(), module), S_OK);
  EXPECT_EQ(ToUtf8(GetDescription(static_cast<HRESULT>(0x80041234), &module)), "A text of ours");
  EXPECT_EQ(ToUtf8(GetDescription(E_FAIL, &module)), "<no description>");
  EXPECT_EQ(MessageModule::Load((dir / "bad.txt").string(), module), E_INVALID_DATA);
  EXPECT_EQ(MessageModule::Load((dir / "none.txt").string(), module), E_FILE_NOT_FOUND);

  const std::string dirName = dir.string();
  MessageModules modules(
      u"texts.txt,,Faulttexts.dll|missing.txt;texts.txt;texts.txt;texts.txt;texts.txt",
      ToUtf16(dir.string() + "/texts.txt"), dirName);
  EXPECT_EQ(modules.primary().size(),
            MessageModules::kSlots);  // the sixth is refused, the missing skipped
  EXPECT_EQ(modules.fallback().size(), 1u);
  fs::remove_all(dir);
}

TEST(MessageModulesTest, PrimaryNamesMustBeBare) {
  const fs::path dir =
      fs::temp_directory_path() / ("scriptwright-bare-" + std::to_string(getpid()));
  fs::create_directories(dir / "sub");
  std::ofstream(dir / "texts.txt") << "0x80041234 Ours.\n";
  std::ofstream(dir / "sub" / "texts.txt") << "0x80041234 Elsewhere.\n";
  struct Case {
    std::u16string name;
    size_t primary;  // modules loaded
  } cases[] = {
      {u"texts.txt", 1},      {u"sub/texts.txt", 0},
      {u"sub\\texts.txt", 0}, {ToUtf16((dir / "texts.txt").string()), 0},
      {u"..\\texts.txt", 0},
  };
  LogCapture::Instance().Take();
  for (const auto& c : cases) {
    const MessageModules modules(c.name, u"", dir.string());
    EXPECT_EQ(modules.primary().size(), c.primary) << ToUtf8(c.name);
  }
  const std::vector<std::string> lines = LogCapture::Instance().Take();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_NE(lines[1].find("| Loading errormsg module 'sub\\texts.txt' failed: 0x80070057\r\n"),
            std::string::npos)
      << lines[1];
  // Fallback entries are opened as written.
  EXPECT_EQ(
      MessageModules(u"", ToUtf16((dir / "sub" / "texts.txt").string()), "").fallback().size(), 1u);
  fs::remove_all(dir);
}

TEST(MessageModulesTest, AFailureOfTheWholeStepIsLogged) {
  struct Broken : ISettingsSource {
    HRESULT Read(std::u16string_view section, std::u16string_view, std::u16string&) override {
      if (section == u"ErrorHandling") throw std::runtime_error("settings unreadable");
      return E_NOTFOUND;
    }
  };
  auto broken = std::make_shared<Broken>();
  SettingsSources::Instance().AddSource(broken);
  LogCapture::Instance().Take();
  EXPECT_TRUE(MessageModules::FromSettings("/nowhere").primary().empty());
  SettingsSources::Instance().RemoveSource(broken);
  const std::vector<std::string> lines = LogCapture::Instance().Take();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("| ERR  |"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("| Loading error message module(s): settings unreadable\r\n"),
            std::string::npos)
      << lines[0];
}

TEST(MessageCacheTest, DisabledKeepsNothing) {
  MessageCache& cache = MessageCache::Instance();
  const HRESULT code = static_cast<HRESULT>(0x80041299);
  EXPECT_EQ(ToUtf8(GetDescription(code)), "<no description>");
  EXPECT_TRUE(cache.Find(0x80041299).has_value());
  cache.SetEnabled(false);
  EXPECT_FALSE(cache.enabled());
  EXPECT_FALSE(cache.Find(0x80041299).has_value());  // forgotten
  EXPECT_EQ(ToUtf8(GetDescription(code)), "<no description>");
  EXPECT_FALSE(cache.Find(0x80041299).has_value());  // and not kept
  cache.SetEnabled(true);
  EXPECT_EQ(ToUtf8(GetDescription(code)), "<no description>");
  EXPECT_TRUE(cache.Find(0x80041299).has_value());
}

}  // namespace
