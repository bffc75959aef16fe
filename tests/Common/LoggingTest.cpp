#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Common/FileLogger.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/LogLine.h"
#include "Common/LogManager.h"
#include "Common/LogScope.h"
#include "Common/Text.h"
#include "tests/Common/LogCapture.h"

namespace {

namespace fs = std::filesystem;

// Settings of section "Logger" held in memory, put in front of the ini files.
class LoggerSettings : public ISettingsSource {
 public:
  explicit LoggerSettings(std::map<std::u16string, std::u16string> values)
      : values_(std::move(values)) {}
  HRESULT Read(std::u16string_view section, std::u16string_view key,
               std::u16string& value) override {
    auto it = values_.find(std::u16string(key));
    if (section != u"Logger" || it == values_.end()) return E_NOTFOUND;
    value = it->second;
    return S_OK;
  }

 private:
  std::map<std::u16string, std::u16string> values_;
};

using Values = std::map<std::u16string, std::u16string>;

class ScopedSettings {
 public:
  explicit ScopedSettings(Values values)
      : source_(std::make_shared<LoggerSettings>(std::move(values))) {
    SettingsSources::Instance().AddSource(source_);
  }
  ~ScopedSettings() { SettingsSources::Instance().RemoveSource(source_); }

 private:
  std::shared_ptr<ISettingsSource> source_;
};

class Capture : public Logger {
 public:
  void Write(const char16_t* text, size_t length) override { lines.emplace_back(text, length); }
  std::vector<std::u16string> lines;
};

int64_t gTicks = 0;
int64_t Ticks() { return gTicks; }

LogLineFields FixedFields(std::string_view file, int indent) {
  LogLineFields f;
  f.local.tm_year = 2026 - 1900;
  f.local.tm_mon = 10;
  f.local.tm_mday = 3;
  f.local.tm_hour = 4;
  f.local.tm_min = 5;
  f.local.tm_sec = 6;
  f.millisecond = 7;
  f.ticks = 89;
  f.severity = Severity::WARN;
  f.threadId = 0x12345;
  f.processId = 0xABCDE;
  f.file = file;
  f.line = 42;
  f.indent = indent;
  f.text = u"text";
  return f;
}

TEST(LogLineTest, ExactFormat) {
  struct Case {
    std::string file;
    int indent;
    std::string expected;
  } cases[] = {
      {"/src/Common/Short.cpp", 0,
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | Short.cpp:42                   | "
       "text\r\n"},
      {"C:\\src\\Short.cpp", 1,
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | Short.cpp:42                   |   "
       "text\r\n"},
      {"/src/ExactlyTwentySixChars1.cpp", 0,
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | ExactlyTwentySixChars1.cpp:42  | "
       "text\r\n"},
      {"/src/AFileNameLongerThanTwentySixCharacters.cpp", 0,
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | "
       "AFileNameLongerThanTwentySixCharacters.cpp:42  | text\r\n"},
      {"x.cpp", 31,
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | x.cpp:42                       | " +
           std::string(60, ' ') + "text\r\n"},
      {"/src/" + std::string(5000, 'a') + ".cpp", 0,  // cut, never a failure
       "2026-11-03 04:05:06.0070089 | WARN | 9029 48350 | " + std::string(4096, 'a') +
           ":42  | text\r\n"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ToUtf8(FormatLogLine(FixedFields(c.file, c.indent))), c.expected) << c.file;
}

TEST(LogLineTest, Banner) {
  const std::string banner = ToUtf8(LogBanner());
  const std::string stars(100, '*');
  EXPECT_EQ(banner.substr(0, 102), stars + "\r\n");
  EXPECT_EQ(banner.substr(banner.size() - 102), stars + "\r\n");
  for (const char* part :
       {"\r\n*** Module: ", " (Base: 0x", ")\r\n*** Version: 0.1.0.0\r\n*** Module description: ",
        "\r\n*** Process: ", " (Pid: ", ")\r\n*** Command line: "}) {
    EXPECT_NE(banner.find(part), std::string::npos) << part;
  }
}

TEST(LogManagerTest, SlotsAndSeverityLimit) {
  LogManager manager;
  Capture loggers[5];
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(manager.AddLogger(&loggers[i]));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(manager.AddLogger(&loggers[4]));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "LogManager: Too many loggers\n");

  manager.SetTickSource(&Ticks);
  struct Case {
    std::u16string setting;
    Severity lowestOff;  // NONE: every severity is on
  } cases[] = {{u"NONE", Severity::CRIT},
               {u"DBG3", Severity::NONE},
               {u"WARN", Severity::INFO},
               {u"bogus", Severity::DBG2}};
  for (const auto& c : cases) {
    ScopedSettings settings(Values{{u"MaxSeverity", c.setting}});
    gTicks += 5001;  // past the refresh interval
    for (int s = 1; s <= 7; ++s) {
      const bool expected = c.lowestOff == Severity::NONE || s < static_cast<int>(c.lowestOff);
      EXPECT_EQ(manager.IsEnabled(static_cast<Severity>(s)), expected)
          << ToUtf8(c.setting) << " " << s;
    }
    EXPECT_FALSE(manager.IsEnabled(Severity::NONE));
  }
  {
    ScopedSettings settings(Values{{u"MaxSeverity", u"DBG3"}});
    gTicks += 1000;  // within the interval: the old limit (DBG) stands
    EXPECT_FALSE(manager.IsEnabled(Severity::DBG3));
  }
  manager.Log(Severity::ERR, u"to all", __FILE__, __LINE__, nullptr);
  EXPECT_EQ(loggers[3].lines.size(), 1u);
  manager.Log(Severity::ERR, u"to one", __FILE__, __LINE__, &loggers[0]);
  EXPECT_EQ(loggers[0].lines.size(), 2u);
  EXPECT_NE(ToUtf8(loggers[0].lines[1]).find("| ERR  |"), std::string::npos);
}

std::string ReadUtf16File(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return ToUtf8(std::u16string(reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2));
}

TEST(FileLoggerTest, ThresholdLosesLinesAndResumesWithBanner) {
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-log-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const fs::path file = dir / "test.log";
  ScopedSettings settings(Values{{u"LogFileSizeThresholdMB", u"1"}, {u"KeepOpenInterval", u"0"}});
  LogManager manager;
  manager.Refresh();
  FileLogger logger(manager, file.string());
  auto contents = [&] { return ReadUtf16File(file); };

  logger.Write(u"one\r\n", 5);
  EXPECT_EQ(contents(), ToUtf8(LogBanner()) + "one\r\n");  // UTF-16LE, banner first
  logger.Write(u"two\r\n", 5);
  EXPECT_EQ(contents(), ToUtf8(LogBanner()) + "one\r\ntwo\r\n");  // no second banner

  fs::resize_file(file, 1 << 20);
  testing::internal::CaptureStderr();
  logger.Write(u"lost\r\n", 6);
  logger.Write(u"lost\r\n", 6);
  const std::string messages = testing::internal::GetCapturedStderr();
  EXPECT_EQ(fs::file_size(file), 1u << 20);
  EXPECT_EQ(messages,
            "FileLogger: log file '" + file.string() + "' is too big (size=1MB threshold=1MB)\n");

  fs::rename(file, dir / "moved.log");
  logger.Write(u"three\r\n", 7);
  EXPECT_EQ(contents(), ToUtf8(LogBanner()) + "three\r\n");
  fs::remove_all(dir);
}

// The first refresh stores the severity and the directory before any other
// thread may go on: a second thread that logs meanwhile waits for it, so it
// never writes at the default severity or below the current directory.
TEST(LogManagerThreadsTest, OtherThreadsWaitForTheFirstRefresh) {
  // Answers "Logger" keys; holds the refreshing thread's read of MaxSeverity.
  struct Gate : ISettingsSource {
    std::mutex lock;
    std::condition_variable changed;
    std::thread::id held;
    bool entered = false;
    bool released = false;
    HRESULT Read(std::u16string_view section, std::u16string_view key,
                 std::u16string& value) override {
      if (section != u"Logger") return E_NOTFOUND;
      if (key == u"Path") value = u"/tmp/scriptwright-gate-logs";
      if (key == u"MaxSeverity") value = u"ERR";
      if (value.empty()) return E_NOTFOUND;
      std::unique_lock guard(lock);
      if (key != u"MaxSeverity" || std::this_thread::get_id() != held) return S_OK;
      entered = true;
      changed.notify_all();
      changed.wait_for(guard, std::chrono::seconds(10), [this] { return released; });
      return S_OK;
    }
    void Set(bool& flag) {
      std::lock_guard guard(lock);
      flag = true;
      changed.notify_all();
    }
  };
  auto gate = std::make_shared<Gate>();
  SettingsSources::Instance().AddSource(gate);
  LogManager manager;

  std::thread first([&] {
    {
      std::lock_guard guard(gate->lock);
      gate->held = std::this_thread::get_id();
    }
    manager.IsEnabled(Severity::ERR);
  });
  {
    std::unique_lock guard(gate->lock);
    EXPECT_TRUE(
        gate->changed.wait_for(guard, std::chrono::seconds(10), [&] { return gate->entered; }));
  }
  std::atomic<bool> secondDone{false};
  bool debugOn = true;
  std::string directory;
  std::thread second([&] {
    debugOn = manager.IsEnabled(Severity::DBG);
    directory = ToUtf8(manager.Directory());
    secondDone = true;
  });
  // Room for the second thread to overtake the refresh, as it could before.
  for (int i = 0; i < 50 && !secondDone; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  gate->Set(gate->released);
  first.join();
  second.join();
  SettingsSources::Instance().RemoveSource(gate);
  EXPECT_FALSE(debugOn);
  EXPECT_EQ(directory, "/tmp/scriptwright-gate-logs/");
  fs::remove_all("/tmp/scriptwright-gate-logs");
}

// "Logger" settings that the test changes while other threads log.
class SwitchableSettings : public ISettingsSource {
 public:
  HRESULT Read(std::u16string_view section, std::u16string_view key,
               std::u16string& value) override {
    if (section != u"Logger" || key != u"KeepOpenInterval") return E_NOTFOUND;
    value = keepOpen_ ? u"5000" : u"0";
    return S_OK;
  }
  void KeepOpen(bool on) { keepOpen_ = on; }

 private:
  std::atomic<bool> keepOpen_{true};
};

// How many of this process's descriptors are open on `file`.
int DescriptorsOn(const fs::path& file) {
  int count = 0;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
    std::error_code ignored;
    if (fs::read_symlink(entry.path(), ignored) == file) ++count;
  }
  return count;
}

TEST(FileLoggerTest, ClosesTheKeptDescriptorWhenTheIntervalTurnsZero) {
  const fs::path dir =
      fs::temp_directory_path() / ("scriptwright-keep-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const fs::path file = dir / "keep.log";
  auto settings = std::make_shared<SwitchableSettings>();
  SettingsSources::Instance().AddSource(settings);
  LogManager manager;
  manager.Refresh();
  {
    FileLogger logger(manager, file.string());
    logger.Write(u"kept\r\n", 6);
    EXPECT_EQ(DescriptorsOn(file), 1);  // kept for the next line
    settings->KeepOpen(false);
    manager.Refresh();
    logger.Write(u"alone\r\n", 7);
    EXPECT_EQ(DescriptorsOn(file), 0);
    EXPECT_EQ(ReadUtf16File(file), ToUtf8(LogBanner()) + "kept\r\nalone\r\n");
  }
  SettingsSources::Instance().RemoveSource(settings);
  fs::remove_all(dir);
}

// Threads write while the keep-open interval flips between 0 and 5000: every
// line arrives whole and once, behind a single banner.
TEST(FileLoggerThreadsTest, LinesStayWholeWhileTheIntervalChanges) {
  const fs::path dir =
      fs::temp_directory_path() / ("scriptwright-threads-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const fs::path file = dir / "threads.log";
  auto settings = std::make_shared<SwitchableSettings>();
  SettingsSources::Instance().AddSource(settings);
  LogManager manager;
  manager.Refresh();
  constexpr int kThreads = 4;
  constexpr int kLines = 200;
  {
    FileLogger logger(manager, file.string());
    std::atomic<int> running{kThreads};
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
      writers.emplace_back([&, t] {
        for (int i = 0; i < kLines; ++i) {
          const std::u16string line =
              ToUtf16("thread " + std::to_string(t) + " line " + std::to_string(i) + "\r\n");
          logger.Write(line.data(), line.size());
        }
        --running;
      });
    }
    for (int flips = 0; running > 0 && flips < 100000; ++flips) {
      settings->KeepOpen(flips % 2 == 0);
      manager.Refresh();
    }
    for (auto& writer : writers) writer.join();
  }
  SettingsSources::Instance().RemoveSource(settings);

  const std::string banner = ToUtf8(LogBanner());
  const std::string text = ReadUtf16File(file);
  ASSERT_EQ(text.rfind(banner, 0), 0u);
  std::set<std::string> lines;
  std::istringstream in(text.substr(banner.size()));
  for (std::string line; std::getline(in, line);) {
    EXPECT_TRUE(std::regex_match(line, std::regex(R"(thread \d line \d+\r)"))) << line;
    lines.insert(line);
  }
  EXPECT_EQ(lines.size(), static_cast<size_t>(kThreads * kLines));
  fs::remove_all(dir);
}

TEST(LogScopeTest, EntryExitAndException) {
  LogCapture& capture = LogCapture::Instance();
  SetMaxSeverity(Severity::DBG);
  capture.Take();
  auto traced = [](bool fail) {
    VX_LOG_SCOPE(Severity::DBG, "Outer::Run");
    {
      VX_LOG_SCOPE(Severity::DBG2, "Inner::Hidden");  // above the limit: silent
    }
    VX_LOG(Severity::DBG, u"inside");
    if (fail) throw std::runtime_error("boom");
  };
  traced(false);
  EXPECT_THROW(traced(true), std::runtime_error);
  SetMaxSeverity(Severity::ERR);
  const std::vector<std::string> lines = capture.Take();
  ASSERT_EQ(lines.size(), 6u);
  auto tail = [&](size_t i) {
    const std::string& line = lines[i];
    return line.substr(line.find("| ", line.find(".cpp:")) + 2);
  };
  EXPECT_EQ(tail(0), "Entering: Outer::Run\r\n");
  EXPECT_EQ(tail(1), "  inside\r\n");
  EXPECT_TRUE(std::regex_match(
      tail(2), std::regex(R"(Exiting: Outer::Run \[\d{1,3}( \d{3})*\.\d{3} ms\]\r\n)")))
      << tail(2);
  EXPECT_TRUE(
      std::regex_match(tail(5), std::regex(R"(EXCEPTION at: Outer::Run \[[\d ]+\.\d{3} ms\]\r\n)")))
      << tail(5);
  EXPECT_EQ(LogScope::ThreadIndent(), 0);
}

TEST(LogMessageTest, ABuilderThatThrowsStillLogs) {
  LogCapture& capture = LogCapture::Instance();
  SetMaxSeverity(Severity::DBG);
  auto explode = []() -> std::u16string { throw std::runtime_error("no"); };
  try {
    VX_LOG(Severity::DBG, u"value: " << explode());
  } catch (...) {
    ADD_FAILURE() << "logging raised";
  }
  SetMaxSeverity(Severity::ERR);
  const std::vector<std::string> lines = capture.Take();
  ASSERT_FALSE(lines.empty());
  EXPECT_NE(lines.back().find("value: ... (***EXCEPTION***)"), std::string::npos);
}

}  // namespace
