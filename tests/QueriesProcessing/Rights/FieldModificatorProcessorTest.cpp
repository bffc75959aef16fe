#include <gtest/gtest.h>

#include "Common/Nodes/NodeTextWriter.h"
#include "QueriesProcessing/Scriptwright/Rights/FieldModificatorProcessor.h"
#include "tests/QueriesProcessing/Shaping/ProcessorRunner.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

// The tree in the text form, on one line, without its root.
std::string Text(const VXNodePtr& node) {
  NodeTextWriter writer(VXN_TEXT_NO_DECLARATION);
  std::string out;
  writer.Begin(out);
  writer.Add(node, out);
  writer.End(out);
  const size_t begin = out.find("<nr>") + 4;
  return out.substr(begin, out.rfind("</nr>") - begin);
}

TEST(FieldModificatorTest, RewritesColumnsForTheConditions) {
  const struct {
    const char* what;
    std::string request;
    std::string expected;  // the request afterwards, or the failure
  } cases[] = {
      {"alias and column", R"x(<C Columnn="Who" AliasTable="SubQuery" Modificator="UPPER"/>)x",
       R"x(<C Columnn="UPPER([SubQuery].[Who])" Modificator="UPPER" EscapeRequired="bool:false"/>)x"},
      {"names escaped, EscapeRequired overwritten",
       R"x(<C Columnn="a]b" AliasTable="t]" EscapeRequired="bool:true" Modificator="UPPER"/>)x",
       R"x(<C Columnn="UPPER([t]]].[a]]b])" EscapeRequired="bool:false" Modificator="UPPER"/>)x"},
      {"Columnn wins over Column", R"x(<C Column="Where" Columnn="Who" Modificator="UPPER"/>)x",
       R"x(<C Column="Where" Columnn="UPPER([Who])" Modificator="UPPER" EscapeRequired="bool:false"/>)x"},
      {"Column alone", R"x(<S Column="What" Modificator="UPPER"/>)x",
       R"x(<S Column="UPPER([What])" Modificator="UPPER" EscapeRequired="bool:false"/>)x"},
      {"no column: any Modificator is ignored",
       R"x(<C Value="x" AliasTable="t" Modificator="lower"/>)x",
       R"x(<C Value="x" AliasTable="t" Modificator="lower"/>)x"},
      {"no Modificator", R"x(<C Columnn="Who" AliasTable="t"/>)x",
       R"x(<C Columnn="Who" AliasTable="t"/>)x"},
      {"Modificator of type 0", R"x(<C Columnn="Who" Modificator="null:"/>)x",
       R"x(<C Columnn="Who" Modificator="null:"/>)x"},
      {"the request node itself and nodes at any depth",
       R"x(<Query Columnn="Top" Modificator="UPPER"><Conditions><Condition operator="AND">
            <ConditionValues Columnn="Who" Modificator="UPPER"/></Condition></Conditions></Query>)x",
       R"x(<Query Columnn="UPPER([Top])" Modificator="UPPER" EscapeRequired="bool:false"><Conditions>)x"
       R"x(<Condition operator="AND"><ConditionValues Columnn="UPPER([Who])" Modificator="UPPER" )x"
       R"x(EscapeRequired="bool:false"/></Condition></Conditions></Query>)x"},
      {"lower case", R"x(<C Columnn="Who" Modificator="upper"/>)x", "error 0x8007000D"},
      {"an empty name", R"x(<C Columnn="Who" Modificator=""/>)x", "error 0x8007000D"},
      {"nodes before the bad one stay rewritten",
       R"x(<R><C Columnn="A" Modificator="UPPER"/><C Columnn="B" Modificator="Upper"/><C Columnn="C" Modificator="UPPER"/></R>)x",
       R"x(error 0x8007000D <R><C Columnn="UPPER([A])" Modificator="UPPER" EscapeRequired="bool:false"/>)x"
       R"x(<C Columnn="B" Modificator="Upper"/><C Columnn="C" Modificator="UPPER"/></R>)x"},
  };
  CFieldModificatorProcessor processor;
  ASSERT_EQ(processor.Initialize(VXNodePtr()), S_OK);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    VXNodePtr request = Parse(c.request);
    std::u16string text = u"SELECT %FIELD_MODIFICATOR_PROCESSOR%";
    const HRESULT status = processor.ProcessNode(request, VXNodePtr(), text);
    EXPECT_EQ(ToUtf8(text), "SELECT %FIELD_MODIFICATOR_PROCESSOR%");
    if (status == S_OK) {
      EXPECT_EQ(Text(request), c.expected);
      continue;
    }
    const std::string failure =
        ToUtf8(FormatString(u"error 0x%08X", static_cast<uint32_t>(status)));
    EXPECT_EQ(
        c.expected.starts_with("error 0x8007000D <") ? failure + " " + Text(request) : failure,
        c.expected);
  }
}

// The walk keeps its own stack: a chain deeper than any call stack would
// allow is walked to its last node.
TEST(FieldModificatorTest, WalksADeepChainToItsEnd) {
  VXNodePtr request = VXNodePtr::Create(u"Query");
  VXNodePtr last = request;
  for (int i = 0; i < 200000; ++i) {
    VXNodePtr child = VXNodePtr::Create(u"N");
    last.AddChild(child);
    last = child;
  }
  last.SetString(u"Columnn", u"Who");
  last.SetString(u"Modificator", u"UPPER");
  CFieldModificatorProcessor processor;
  ASSERT_EQ(processor.Initialize(VXNodePtr()), S_OK);
  std::u16string text;
  ASSERT_EQ(processor.ProcessNode(request, VXNodePtr(), text), S_OK);
  EXPECT_EQ(ToUtf8(last.GetString(u"Columnn")), "UPPER([Who])");
}

}  // namespace
}  // namespace QueriesProcessing
