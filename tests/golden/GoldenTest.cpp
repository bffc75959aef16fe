// Runs every *.case file below the golden folder through the prepare job and
// compares the printed text with the case's expected text.

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Common/SqlStorage/SQLiteStorage.h"
#include "Common/Text.h"
#include "Host/HostComponents.h"
#include "Host/PrepareJob.h"

namespace {

namespace fs = std::filesystem;

const fs::path kGoldenRoot = SCRIPTWRIGHT_GOLDEN_DIR;
constexpr std::string_view kSeparator = "----";

struct GoldenCase {
  fs::path file;
  std::string catalog;
  std::string environment;
  std::string as;
  std::string unordered;  // a separator line between branches that may come in any order
  bool xml = false;
  std::optional<double> membershipWait;
  std::string tables;  // a database file whose tables are listed after the run
  std::string request;
  std::string expected;
  size_t expectedOffset = 0;  // where the expected text starts in the file
  std::string text;           // the whole file
};

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

GoldenCase Parse(const fs::path& file) {
  GoldenCase c;
  c.file = file;
  c.text = ReadFile(file);
  size_t pos = 0;
  bool inRequest = false;
  while (pos < c.text.size()) {
    const size_t end = c.text.find('\n', pos);
    const size_t next = end == std::string::npos ? c.text.size() : end + 1;
    const std::string line = c.text.substr(pos, next - pos - (end == std::string::npos ? 0 : 1));
    if (line == kSeparator) {
      c.expectedOffset = next;
      c.expected = c.text.substr(next);
      return c;
    }
    if (!inRequest && line.rfind("#", 0) == 0) {
    } else if (!inRequest && line.rfind("catalog: ", 0) == 0) {
      c.catalog = (file.parent_path() / line.substr(9)).string();
    } else if (!inRequest && line.rfind("env: ", 0) == 0) {
      c.environment = (file.parent_path() / line.substr(5)).string();
    } else if (!inRequest && line.rfind("as: ", 0) == 0) {
      c.as = line.substr(4);
    } else if (!inRequest && line.rfind("tables: ", 0) == 0) {
      c.tables = line.substr(8);
    } else if (!inRequest && line.rfind("unordered: ", 0) == 0) {
      c.unordered = line.substr(11);
    } else if (!inRequest && line.rfind("options: ", 0) == 0) {
      c.xml = line.find("--xml") != std::string::npos;
      const size_t wait = line.find("--membership-wait ");
      if (wait != std::string::npos) c.membershipWait = std::stod(line.substr(wait + 18));
    } else {
      inRequest = true;
      c.request += c.text.substr(pos, next - pos);
    }
    pos = next;
  }
  c.expectedOffset = std::string::npos;
  return c;
}

std::vector<fs::path> CaseFiles() {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(kGoldenRoot)) {
    if (entry.is_regular_file() && entry.path().extension() == ".case") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string CaseName(const fs::path& file) {
  std::string name = fs::relative(file, kGoldenRoot).replace_extension().string();
  for (char& ch : name) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return name;
}

// "tables in <file>: <name>, ..." for the SQLite file `file`, its tables by
// name; "<file>: no such file" when the run left none.
std::string ListTables(const fs::path& file, const std::string& shown) {
  if (!fs::exists(file)) return shown + ": no such file\n";
  const CompPtr<IVXSQLStorage> storage =
      CompPtr<IVXSQLStorage>::Attach(MakeHostComponent<CSQLiteStorage>());
  const VXNodePtr settings = VXNodePtr::Create(u"_");
  settings.SetString(u"Database", ToUtf16(file.string()));
  const VXNodePtr command = VXNodePtr::Create(u"_");
  command.SetString(u"SQL_Command", u"SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name;");
  VXNodePtr rows;
  if (Failed(storage->Configure(settings)) || Failed(storage->Execute(command, &rows))) {
    return shown + ": not a database\n";
  }
  std::string names;
  rows.ForEachChild([&](const VXNodePtr& row) {
    names += (names.empty() ? "" : ", ") + ToUtf8(row.GetString(u"name"));
  });
  return "tables in " + shown + ": " + names + "\n";
}

// Runs the case in a folder of its own, which is also the working directory,
// so that files the run makes (a database) start afresh and stay apart.
std::string RunCase(const GoldenCase& c) {
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-golden-" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  const fs::path before = fs::current_path();
  fs::current_path(dir);
  const fs::path requestFile = dir / "request.xml";
  std::ofstream(requestFile, std::ios::binary) << c.request;
  std::ostringstream output;
  PrepareOptions options{c.catalog, {requestFile.string()}, c.xml, c.environment, c.as};
  if (c.membershipWait) {
    options.membershipWait = std::chrono::milliseconds(static_cast<int64_t>(*c.membershipWait * 1000));
  }
  const int status = RunPrepareJob(options, output, output);
  std::string text = output.str();
  // Paths differ between checkouts: files are named by their file names.
  for (const std::string& path : {requestFile.string(), c.catalog, c.environment}) {
    if (path.empty()) continue;
    const std::string name = fs::path(path).filename().string();
    for (size_t at = 0; (at = text.find(path, at)) != std::string::npos; at += name.size()) {
      text.replace(at, path.size(), name);
    }
  }
  if (status != 0) text += "exit status " + std::to_string(status) + "\n";
  if (!c.tables.empty()) text += ListTables(dir / c.tables, c.tables);
  fs::current_path(before);
  fs::remove_all(dir);
  return text;
}

// The text with the pieces of each command that lie between lines equal to
// `separator` put in sorted order: a fan-out over databases follows a hash
// map, so its branches may come in any order. A command starts at a line
// "-- Command "; the pieces keep their own lines in their order.
std::string SortBranches(const std::string& text, const std::string& separator) {
  std::vector<std::string> lines;
  for (size_t pos = 0; pos < text.size();) {
    const size_t end = text.find('\n', pos);
    const size_t next = end == std::string::npos ? text.size() : end + 1;
    lines.push_back(text.substr(pos, next - pos));
    pos = next;
  }
  std::string result;
  std::vector<std::string> pieces(1);
  auto flush = [&] {
    std::sort(pieces.begin(), pieces.end());
    for (size_t i = 0; i < pieces.size(); ++i) {
      if (i > 0) result += separator + "\n";
      result += pieces[i];
    }
    pieces.assign(1, std::string());
  };
  for (const std::string& line : lines) {
    if (line.rfind("-- Command ", 0) == 0) {
      flush();
      result += line;
    } else if (line == separator + "\n") {
      pieces.emplace_back();
    } else {
      pieces.back() += line;
    }
  }
  flush();
  return result;
}

class GoldenTest : public ::testing::TestWithParam<fs::path> {};

TEST_P(GoldenTest, PrintsTheExpectedText) {
  const GoldenCase c = Parse(GetParam());
  ASSERT_NE(c.expectedOffset, std::string::npos) << GetParam() << ": no '----' separator line";
  ASSERT_FALSE(c.catalog.empty()) << GetParam() << ": no 'catalog:' line";
  const std::string actual = RunCase(c);
  if (!c.unordered.empty() && actual != c.expected &&
      SortBranches(actual, c.unordered) == SortBranches(c.expected, c.unordered)) {
    return;
  }
  if (std::getenv("GOLDEN_UPDATE") && actual != c.expected) {
    std::ofstream(c.file, std::ios::binary) << c.text.substr(0, c.expectedOffset) << actual;
    return;
  }
  EXPECT_EQ(actual, c.expected) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(golden, GoldenTest, ::testing::ValuesIn(CaseFiles()),
                         [](const ::testing::TestParamInfo<fs::path>& info) { return CaseName(info.param); });

}  // namespace
