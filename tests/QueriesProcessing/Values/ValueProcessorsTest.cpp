#include <gtest/gtest.h>

#include <memory>

#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Values/DateAddProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/OptionalTopProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/SimpleParametersProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/TopProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/UIDProcessor.h"

namespace QueriesProcessing {
namespace {

VXNodePtr Parse(const std::string& text) {
  auto nodes = ReadNodeText("<nr>" + text + "</nr>", "test");
  return nodes.empty() ? VXNodePtr() : nodes[0];
}

// Runs one processor over `text` and returns the result, or the failure's
// status in the form "error 0x...".
template <typename Processor>
std::string RunProcessor(const std::string& config, const std::string& request, std::u16string text,
                         const std::string& variable = "") {
  Processor processor;
  const HRESULT loaded = processor.Initialize(Parse(config));
  if (Failed(loaded)) return "load error " + std::to_string(static_cast<uint32_t>(loaded));
  VXNodePtr requestNode = Parse(request);
  const HRESULT status =
      processor.ProcessNode(requestNode, variable.empty() ? VXNodePtr() : Parse(variable), text);
  if (Failed(status))
    return "error " + std::to_string(static_cast<uint32_t>(status)) + ": " + ToUtf8(text);
  return ToUtf8(text);
}

constexpr const char* kTop = R"x(<_ top="2000" variable="%TOP%"/>)x";
constexpr const char* kOptionalTop = R"x(<_ Alias="%OPT%" Template="TOP (%d)"/>)x";
constexpr const char* kParameters = R"x(<_ flag="$"/>)x";

TEST(ValueProcessorsTest, Top) {
  struct Case {
    const char* request;
    std::string top, optional;
  } cases[] = {
      // Absent, 0 and a number are pinned by the golden case values/top.
      {R"x(<Query Top="null:"/>)x", "SELECT TOP 2000 *", "SELECT  *"},
      {R"x(<Query Top="50"/>)x", "SELECT TOP 50 *", "SELECT TOP (50) *"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RunProcessor<CTopProcessor>(kTop, c.request, u"SELECT TOP %TOP% *"), c.top)
        << c.request;
    EXPECT_EQ(RunProcessor<COptionalTopProcessor>(kOptionalTop, c.request, u"SELECT %OPT% *"),
              c.optional)
        << c.request;
  }
  EXPECT_EQ(RunProcessor<CTopProcessor>(R"x(<_ top="1"/>)x", "<Query/>", u""),
            "load error 2147943568");
  EXPECT_EQ(RunProcessor<COptionalTopProcessor>(R"x(<_ Alias="x"/>)x", "<Query/>", u""),
            "load error 2147943568");
}

TEST(ValueProcessorsTest, SimpleParameters) {
  struct Case {
    const char* request;
    const char* variable;
    std::u16string text;
    std::string expected;
  } cases[] = {
      {"<Query/>", R"x(<variable_processor User="fallback"/>)x", u"$User$", "fallback"},
      {R"x(<Query User="request"/>)x", R"x(<variable_processor User="fallback"/>)x", u"$User$",
       "request"},
      {"<Query/>", "", u"cost: 5$", "cost: 5$"},
      {R"x(<Query A="1" B="2"/>)x", "", u"$A$+$B$=3", "1+2=3"},
      {R"x(<Query A="$B$" B="x"/>)x", "", u"[$A$]", "[x]"},  // a value is scanned again
      {R"x(<Query Empty=""/>)x", "", u"a$Empty$b", "ab"},
      {R"x(<Query A="1"/>)x", "", u"$A$ and $Missing$", "error 2147942487: 1 and $Missing$"},
      {R"x(<Query Loop="$Loop$"/>)x", "", u"$Loop$", ""},
      {R"x(<Query A="$B" B="x"/>)x", "", u"$A$$", "x"},  // a name made of value and text
      {R"x(<Query A="1"/>)x", "", u"xx$A$yy$A$zz", "xx1yy1zz"},
      {R"x(<Query A="a longer value"/>)x", "", u"$A$ and $A$.",
       "a longer value and a longer value."},
      {R"x(<Query A="$B$$B$" B="$C$$C$" C="long value "/>)x", "", u"<$A$>",
       "<long value long value long value long value >"},
  };
  for (const auto& c : cases) {
    const std::string actual =
        RunProcessor<CSimpleParametersProcessor>(kParameters, c.request, c.text, c.variable);
    if (std::string(c.request).find("Loop") != std::string::npos) {
      EXPECT_EQ(actual.rfind("error 2147942487", 0), 0u) << "a value naming itself must not hang";
    } else {
      EXPECT_EQ(actual, c.expected) << c.request;
    }
  }
}

TEST(ValueProcessorsTest, UidAndDateAdd) {
  const char* uidConfig = R"x(<_>
      <_ _name="ReplacedEntries">
        <ReplacedEntry IdAttributeName="SessionId" ReplacedVariable="%SESSION%"/>
        <Other IdAttributeName="Ignored" ReplacedVariable="%IGNORED%"/>
        <ReplacedEntry IdAttributeName="SessionId" ReplacedVariable="%SECOND%"/>
        <ReplacedEntry IdAttributeName="UserId" ReplacedVariable="%USER%"/>
      </_>
    </_>)x";
  EXPECT_EQ(
      RunProcessor<CUIDProcessor>(
          uidConfig, R"x(<Query SessionId="{0dd265d7-9c92-4fc0-9cbe-32d691746561}" Ignored="x"/>)x",
          u"#T_%SESSION%_%USER%_%SECOND%_%IGNORED%"),
      "#T_0dd265d79c924fc09cbe32d691746561_%USER%_%SECOND%_%IGNORED%");
  EXPECT_EQ(RunProcessor<CUIDProcessor>("<_/>", "<Query/>", u""), "load error 2147943568");

  const char* dateConfig =
      R"x(<_ variable="%DATEADD%" part_variable="%PART%" offset_variable="%OFFSET%"/>)x";
  EXPECT_EQ(RunProcessor<CDateAddProcessor>(
                dateConfig, R"x(<Query DateTimePart="minute" DateTimeOffset="i32:-90"/>)x",
                u"DATEADD(%PART%, %OFFSET%, [When])x"),
            "DATEADD(minute, -90, [When])x");
}

}  // namespace
}  // namespace QueriesProcessing
