#include <gtest/gtest.h>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Risk/RiskArguments.h"
#include "tests/QueriesProcessing/Shaping/ProcessorRunner.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

// One argument named P, written from the parameter node's P (text form of
// its attributes), with or without plain_text.
TEST(RiskArgumentsTest, EachTypeCodeListsPlainTextAndAbsence) {
  const struct {
    std::string parameter;  // attributes of the parameter node
    std::string quoted;     // the argument without plain_text
    std::string plain;      // and with it
  } cases[] = {
      {"", "NULL", "NULL"},
      {R"(P="null:")", "NULL", "NULL"},
      {R"(P='str[]:[]')", "NULL", "NULL"},
      {R"(Q="x")", "NULL", "NULL"},
      {R"(P="O'Brien")", "N'O''Brien'", "O'Brien"},
      {R"(P="")", "N''", ""},
      {R"(P="%TOP%")", "N'%TOP%'", "%TOP%"},
      {R"(P="i32:-5")", "-5", "-5"},
      {R"(P="u32:7")", "7", "7"},
      {R"(P="u64:18446744073709551615")", "18446744073709551615", "18446744073709551615"},
      {R"(P="i64:-9")", "-9", "-9"},
      {R"(P="bool:true")", "1", "1"},
      {R"(P="bool:false")", "0", "0"},
      {R"(P="guid:0dd265d7-9c92-4fc0-9cbe-32d691746561")",
       "'{0DD265D7-9C92-4FC0-9CBE-32D691746561}'", "{0DD265D7-9C92-4FC0-9CBE-32D691746561}"},
      {R"(P="str[]:[&quot;a&quot;,&quot;b'c&quot;]")", "N'N''a'',N''b''''c'''", "a,b'c"},
      {R"(P='str[]:["","x"]')", "N'N'''',N''x'''", ",x"},
      {R"(P='i32[]:[1,2]')", "N'1,2'", "1,2"},
      {R"(P='bool[]:[true,false]')", "N'1,0'", "1,0"},
      {R"(P='guid[]:[{0DD265D7-9C92-4FC0-9CBE-32D691746561},{50A80F11-A323-4F79-884F-DAD619B23109}]')",
       "N'''{0DD265D7-9C92-4FC0-9CBE-32D691746561}'',''{50A80F11-A323-4F79-884F-DAD619B23109}'''",
       "{0DD265D7-9C92-4FC0-9CBE-32D691746561},{50A80F11-A323-4F79-884F-DAD619B23109}"},
  };
  for (const auto& [parameter, quoted, plain] : cases) {
    SCOPED_TRACE(parameter);
    const VXNodePtr parameters = Parse("<_ " + parameter + "/>");
    EXPECT_EQ(ToUtf8(WriteRiskArguments({Parse(R"(<_ _value="P"/>)")}, parameters)), quoted);
    EXPECT_EQ(ToUtf8(WriteRiskArguments({Parse(R"(<_ _value="P" plain_text="bool:true"/>)")},
                                        parameters)),
              plain);
  }
}

// Arguments in their order, each separator written, also next to an empty
// plain text; no argument at all is an empty list.
TEST(RiskArgumentsTest, ListOfArguments) {
  const VXNodePtr parameters = Parse(R"(<_ A="" B="i32:2"/>)");
  const std::vector<VXNodePtr> arguments = {Parse(R"(<_ _value="A" plain_text="bool:true"/>)"),
                                            Parse(R"(<_ _value="B"/>)"),
                                            Parse(R"(<_ _value="C"/>)")};
  EXPECT_EQ(ToUtf8(WriteRiskArguments(arguments, parameters)), ",2,NULL");
  EXPECT_EQ(ToUtf8(WriteRiskArguments({}, parameters)), "");
}

}  // namespace
}  // namespace QueriesProcessing
