#include <gtest/gtest.h>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Risk/RiskProcedure.h"
#include "tests/QueriesProcessing/Shaping/ProcessorRunner.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

// Arguments 2, 0, 1, 0 by order: a stable sort gives B, D (both 0, in the
// configuration's order), C, A.
constexpr char kProcedure[] = R"(<BaseRiskAssessmentProcedure _value="usp_Risk">
    <_ _value="A" order="i32:2"/><_ _value="B"/><_ _value="C" order="i32:1"/><_ _value="D" order="i32:0"/>
  </BaseRiskAssessmentProcedure>)";

std::string Mapping(const std::string& risks) {
  return std::string("<_>") + kProcedure +
         R"(<_ _name="RiskAssessmentProcedureMapping"><_ _name="usp_Risk">)" + risks +
         "</_></_></_>";
}

// The argument names of a risk's procedure, or "error 0x..." when the
// mapping does not read.
std::string Arguments(const std::string& config, const std::u16string& risk) {
  try {
    const RiskName2Procedure procedures = MakeMappingRiskName2Procedure(Parse(config));
    const auto found = procedures.find(risk);
    if (found == procedures.end()) return "none";
    std::string names = ToUtf8(found->second->Name) + ":";
    for (const VXNodePtr& argument : found->second->Variables) {
      names += ToUtf8(argument.GetValue()) + ToUtf8(argument.GetString(u"default_value", u""));
    }
    return names;
  } catch (const HRX& failure) {
    return "error " + std::to_string(static_cast<uint32_t>(failure.code()));
  }
}

TEST(RiskProcedureTest, SortsSharesAndOverrides) {
  const std::string invalid = "error " + std::to_string(static_cast<uint32_t>(E_INVALIDARG));
  const std::string missing = "error " + std::to_string(static_cast<uint32_t>(E_NOTFOUND));
  const struct {
    std::string risks;
    std::string expected;  // of the risk "R"
  } cases[] = {
      {R"(<RiskAssessment _value="R"/>)", "usp_Risk:BDCA"},
      {R"(<RiskAssessment _value="R"><OverrideVariables order="u32:2" _value="X" default_value="5"/></RiskAssessment>)",
       "usp_Risk:BX5CA"},
      {R"(<RiskAssessment _value="R"><OverrideVariables order="u32:4" _value="X"/><OverrideVariables order="u32:1" _value="Y"/></RiskAssessment>)",
       "usp_Risk:YDCX"},
      // Children that are no overrides still make a copy of its own.
      {R"(<RiskAssessment _value="R"><Note/></RiskAssessment>)", "usp_Risk:BDCA"},
      // The first entry of a name counts.
      {R"(<RiskAssessment _value="R"/><RiskAssessment _value="R"><OverrideVariables order="u32:1" _value="Y"/></RiskAssessment>)",
       "usp_Risk:BDCA"},
      {R"(<Other _value="R"/>)", "none"},
      {R"(<RiskAssessment _value="R"><OverrideVariables order="u32:0" _value="X"/></RiskAssessment>)",
       invalid},
      {R"(<RiskAssessment _value="R"><OverrideVariables order="u32:5" _value="X"/></RiskAssessment>)",
       invalid},
      {R"(<RiskAssessment _value="R"><OverrideVariables _value="X"/></RiskAssessment>)", missing},
  };
  for (const auto& [risks, expected] : cases) {
    SCOPED_TRACE(risks);
    EXPECT_EQ(Arguments(Mapping(risks), u"R"), expected);
  }
  // A procedure without its mapping child, and no mapping at all.
  EXPECT_EQ(Arguments(std::string("<_>") + kProcedure +
                          R"(<_ _name="RiskAssessmentProcedureMapping"/></_>)",
                      u"R"),
            missing);
  EXPECT_EQ(Arguments("<_/>", u"R"), missing);
}

}  // namespace
}  // namespace QueriesProcessing
