// The prepare job as the command line runs it: the module loaded with dlopen,
// a catalogue file that may change under --watch, the module's log reached
// through its diagnostics.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "Host/PrepareJob.h"

namespace {

namespace fs = std::filesystem;

// A folder of its own for each test, removed at the end.
class TempDir {
 public:
  TempDir() : path_(fs::temp_directory_path() / ("scriptwright-job-" + std::to_string(getpid()))) {
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempDir() { fs::remove_all(path_); }
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name, std::ios::binary) << text;
    return (path_ / name).string();
  }
  fs::path path() const { return path_; }

 private:
  fs::path path_;
};

// Sets an environment variable for a scope (none: unset), then puts it back.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    Set(value);
  }
  ~ScopedEnv() { Set(old_.empty() ? nullptr : old_.c_str()); }

 private:
  void Set(const char* value) {
    if (value) {
      setenv(name_, value, 1);
    } else {
      unsetenv(name_);
    }
  }
  const char* name_;
  std::string old_;
};

// A catalogue whose one template selects "TOP <top>" through the %TOP%
// processor's default, and names its executing component `executor`.
std::string Catalog(int top, const std::string& executor = "Test.Executor") {
  return "<nr><catalog queries_processor=\"" + executor +
         "\" complex_condition_names='str[]:[\"Who\"]'>"
         "<_ _name=\"%TOP%\" top=\"" +
         std::to_string(top) +
         "\" variable=\"%TOP%\"/>"
         "<query_template _name=\"t\"><sql_command _name=\"c\" command=\"SELECT TOP %TOP% 1\""
         " variables='str[]:[\"%TOP%\"]'/></query_template></catalog></nr>";
}

// A catalogue that reads but does not load: the processors are built (with
// `top`) before the required `complex_condition_names` is found missing.
std::string CatalogThatDoesNotLoad(int top) {
  return "<nr><catalog queries_processor=\"Test.Executor\">"
         "<_ _name=\"%TOP%\" top=\"" +
         std::to_string(top) + "\" variable=\"%TOP%\"/></catalog></nr>";
}

std::string Requests(int count) {
  std::string text = "<nr>";
  for (int i = 0; i < count; ++i) text += "<Query Query_Template_Name=\"t\"/>";
  return text + "</nr>";
}

// The row limits of the prepared statements, in order.
std::vector<int> Tops(const std::string& out) {
  std::vector<int> tops;
  for (size_t at = out.find("SELECT TOP "); at != std::string::npos;
       at = out.find("SELECT TOP ", at + 1)) {
    tops.push_back(std::atoi(out.c_str() + at + 11));
  }
  return tops;
}

size_t CountOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// Collects what is written and calls `printed` after each prepared request
// the executing component prints (one write each), on the job's thread.
class HookedOutput : public std::streambuf {
 public:
  explicit HookedOutput(std::function<void(int)> printed) : printed_(std::move(printed)) {}
  const std::string& text() const { return text_; }

 protected:
  std::streamsize xsputn(const char* data, std::streamsize size) override {
    const std::string chunk(data, static_cast<size_t>(size));
    text_ += chunk;
    if (chunk.find("-- Command 1 of") != std::string::npos) printed_(++requests_);
    return size;
  }
  int_type overflow(int_type c) override {
    if (c != traits_type::eof()) text_ += static_cast<char>(c);
    return c;
  }

 private:
  std::function<void(int)> printed_;
  std::string text_;
  int requests_ = 0;
};

TEST(ModuleCopyTest, ACopyOfTheModuleServesRequestsAsTheModuleDoes) {
  TempDir dir;
  PrepareOptions options;
  options.catalog = dir.Write("catalog.xml", Catalog(7));
  options.requests = {
      dir.Write("requests.xml", "<nr><Query Query_Template_Name=\"t\"/><Query/></nr>")};
  const fs::path copy = dir.path() / "libanother-name.so";
  fs::copy_file(SCRIPTWRIGHT_MODULE_FILE, copy);
  // The module the host finds by itself first, then a copy beside it in the
  // process: each copy keeps its state (named instances, error information)
  // to itself.
  for (const char* module : {static_cast<const char*>(nullptr), copy.c_str()}) {
    SCOPED_TRACE(module ? module : "the module found by the host");
    ScopedEnv env("SCRIPTWRIGHT_MODULE", module);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunPrepareJob(options, out, err), 1);
    EXPECT_EQ(Tops(out.str()), std::vector<int>{7});
    EXPECT_EQ(
        err.str(),
        options.requests[0] +
            ": 0x80070490 Element not found: attribute 'Query_Template_Name' is missing on node "
            "Query\n");
  }
}

TEST(ModuleCopyTest, AModuleThatDoesNotLoadIsReported) {
  TempDir dir;
  PrepareOptions options;
  options.catalog = dir.Write("catalog.xml", Catalog(7));
  options.requests = {dir.Write("requests.xml", Requests(1))};
  ScopedEnv env("SCRIPTWRIGHT_MODULE", dir.Write("libnot-a-module.so", "text").c_str());
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(RunPrepareJob(options, out, err), 1);
  EXPECT_EQ(out.str(), "");
  EXPECT_NE(err.str().find(": 0x80070002 The system cannot find the file specified: cannot load "),
            std::string::npos)
      << err.str();
}

// Lines of the module's log, for the whole process (loggers are never freed).
class CapturingLogger : public Logger {
 public:
  void Write(const char16_t* text, size_t length) override {
    std::lock_guard guard(lock_);
    lines_.append(text, length);
  }
  std::u16string Take() {
    std::lock_guard guard(lock_);
    return std::exchange(lines_, std::u16string());
  }

 private:
  std::mutex lock_;
  std::u16string lines_;
};

TEST(PrepareJobLogTest, TheSeverityAndLoggersReachTheModulesLog) {
  static CapturingLogger* const captured = new CapturingLogger;
  TempDir dir;
  PrepareOptions options;
  options.catalog = dir.Write("catalog.xml", Catalog(7));
  options.requests = {dir.Write("requests.xml", Requests(1))};
  options.maxSeverity = Severity::DBG;
  options.loggers = {captured};
  std::ostringstream out;
  std::ostringstream err;
  ASSERT_EQ(RunPrepareJob(options, out, err), 0) << err.str();
  EXPECT_NE(captured->Take().find(u"Entering: QueriesProcessing::CScriptwright::ProcessQuery"),
            std::u16string::npos);

  // The logger stays with the log; the severity turns it off.
  options.maxSeverity = Severity::NONE;
  options.loggers.clear();
  ASSERT_EQ(RunPrepareJob(options, out, err), 0) << err.str();
  EXPECT_EQ(captured->Take(), u"");
}

// Under --watch each change of the file comes between two requests: the hook
// rewrites the catalogue after each printed request, and the next request
// shows which catalogue was in use.
TEST(PrepareJobWatchTest, ANewCatalogueIsUsedOnceItLoadsAndABrokenOneLeavesTheOldInUse) {
  TempDir dir;
  PrepareOptions options;
  options.catalog = dir.Write("catalog.xml", Catalog(10));
  options.requests = {dir.Write("requests.xml", Requests(6))};
  options.watch = true;
  const auto start = fs::last_write_time(options.catalog);
  struct Change {
    std::string text;  // written after the request of the same index
    int top;           // the row limit the next request shows
    bool reported;
  };
  const std::vector<Change> changes = {
      {"<nr><catalog", 10, true},                           // does not read
      {CatalogThatDoesNotLoad(99), 10, true},               // reads, does not load
      {Catalog(30), 30, false},                             // loads
      {Catalog(40, "Another.Executor"), 40, false},         // with an executor of another name
      {Catalog(40, "Another.Executor") + "\n", 40, false},  // the same again
  };
  HookedOutput output([&](int printed) {
    if (printed > static_cast<int>(changes.size())) return;
    dir.Write("catalog.xml", changes[printed - 1].text);
    fs::last_write_time(options.catalog, start + std::chrono::seconds(printed));
  });
  std::ostream out(&output);
  std::ostringstream err;
  EXPECT_EQ(RunPrepareJob(options, out, err), 0) << err.str();

  std::vector<int> expected = {10};
  for (const Change& change : changes) expected.push_back(change.top);
  EXPECT_EQ(Tops(output.text()), expected);
  EXPECT_EQ(CountOf(err.str(), "\n"), 2u) << err.str();
  EXPECT_EQ(CountOf(err.str(), options.catalog + ": 0x8007000D The data is invalid"), 1u)
      << err.str();
  EXPECT_EQ(
      CountOf(err.str(), options.catalog + ": 0x80070490 Element not found: attribute "
                                           "'complex_condition_names' is missing on node catalog "
                                           "(the catalogue in use stays)"),
      1u)
      << err.str();
}

// For ThreadSanitizer: the catalogue file flips between broken and good
// versions, written by another thread, while the requests run. After each
// printed request the job waits until the writer has begun its next version
// and goes on while it writes, so every request may meet a new, or a half
// written, file. Whatever the timing, every request is prepared with one of
// the good versions.
TEST(PrepareJobWatchTest, TheCatalogueFlipsWhileRequestsRun) {
  constexpr int kRequests = 200;
  constexpr auto kPatience = std::chrono::seconds(10);  // a way out, never reached
  TempDir dir;
  PrepareOptions options;
  options.catalog = dir.Write("catalog.xml", Catalog(1));
  options.requests = {dir.Write("requests.xml", Requests(kRequests))};
  options.watch = true;
  const std::vector<std::string> versions = {"<nr><catalog", Catalog(2), CatalogThatDoesNotLoad(99),
                                             Catalog(3)};
  const auto start = fs::last_write_time(options.catalog);

  std::mutex lock;
  std::condition_variable changed;
  int printed = 0;  // guarded by lock, as the two below
  int begun = 0;
  bool done = false;
  std::thread writer([&] {
    for (int flip = 1; flip < kRequests; ++flip) {
      {
        std::unique_lock guard(lock);
        if (!changed.wait_for(guard, kPatience, [&] { return printed >= flip || done; }) || done)
          return;
        begun = flip;
        changed.notify_all();
      }
      dir.Write("catalog.xml", versions[static_cast<size_t>(flip) % versions.size()]);
      std::error_code ignored;  // the job may be reading it
      fs::last_write_time(options.catalog, start + std::chrono::seconds(flip), ignored);
    }
  });
  HookedOutput output([&](int count) {
    std::unique_lock guard(lock);
    printed = count;
    changed.notify_all();
    changed.wait_for(guard, kPatience, [&] { return begun >= count || count >= kRequests; });
  });
  std::ostream out(&output);
  std::ostringstream err;
  const int status = RunPrepareJob(options, out, err);
  {
    std::lock_guard guard(lock);
    done = true;
    changed.notify_all();
  }
  writer.join();

  EXPECT_EQ(status, 0) << err.str();
  const std::vector<int> tops = Tops(output.text());
  EXPECT_EQ(tops.size(), static_cast<size_t>(kRequests));
  for (int top : tops) EXPECT_TRUE(top >= 1 && top <= 3) << top;
  EXPECT_EQ(CountOf(err.str(), "\n"), CountOf(err.str(), " (the catalogue in use stays)\n"))
      << err.str();
}

}  // namespace
