#include "QueriesProcessing/Scriptwright/Rights/ImpersonateProcessor.h"
#include "RightsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RunProcessor;

class ImpersonateTest : public Testing::RightsTest {};

TEST_F(ImpersonateTest, WritesTheCallersDisplayNameAsItStands) {
  const struct {
    const char* what;
    const char* token;
    std::string config;
    std::string expected;
  } cases[] = {
      {"a call from inside the process", "", R"(<_ variable="%WHO%"/>)", "SET @who = N''; -- N''"},
      {"a caller", R"(<Token SubjectDisplayName="Ann Lee"/>)", R"(<_ variable="%WHO%"/>)",
       "SET @who = N'Ann Lee'; -- N'Ann Lee'"},
      {"a quote is not doubled", R"(<Token SubjectDisplayName="Dan O'Brien"/>)",
       R"(<_ variable="%WHO%"/>)", "SET @who = N'Dan O'Brien'; -- N'Dan O'Brien'"},
      {"a token without the name", R"(<Token Account="CORP\ann"/>)", R"(<_ variable="%WHO%"/>)",
       "error 0x80070490: SET @who = %WHO%; -- %WHO%"},
      {"no variable", "", "<_/>", "load error 0x80070490"},
      {"another variable", R"(<Token SubjectDisplayName="Ann"/>)",
       R"(<_ variable="%IMPERSONATION%"/>)", "SET @who = %WHO%; -- %WHO%"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ActAs(c.token);
    EXPECT_EQ(RunProcessor<CImpersonateProcessor>(c.config, Parse("<Query/>"),
                                                  u"SET @who = %WHO%; -- %WHO%",
                                                  R"(<_ variable="%IGNORED%"/>)"),
              c.expected);
  }
}

}  // namespace
}  // namespace QueriesProcessing
