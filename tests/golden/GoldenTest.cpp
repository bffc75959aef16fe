// Runs every *.case file below the golden folder through the prepare job and
// compares the printed text with the case's expected text.

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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
    } else if (!inRequest && line.rfind("unordered: ", 0) == 0) {
      c.unordered = line.substr(11);
    } else if (!inRequest && line.rfind("options: ", 0) == 0) {
      c.xml = line.find("--xml") != std::string::npos;
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

std::string RunCase(const GoldenCase& c) {
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-golden-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  const fs::path requestFile = dir / "request.xml";
  std::ofstream(requestFile, std::ios::binary) << c.request;
  std::ostringstream output;
  PrepareOptions options{c.catalog, {requestFile.string()}, c.xml, c.environment, c.as};
  const int status = RunPrepareJob(options, output, output);
  fs::remove_all(dir);
  std::string text = output.str();
  for (size_t at; (at = text.find(requestFile.string())) != std::string::npos;) {
    text.replace(at, requestFile.string().size(), "request.xml");
  }
  if (status != 0) text += "exit status " + std::to_string(status) + "\n";
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
