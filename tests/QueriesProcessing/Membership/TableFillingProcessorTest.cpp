#include <gtest/gtest.h>

#include "QueriesProcessing/Scriptwright/Membership/TableFillingProcessor.h"
#include "tests/QueriesProcessing/Joins/JoinsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

size_t Count(const std::u16string& text, std::u16string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::u16string::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

std::vector<std::u16string> Values(size_t count) {
  std::vector<std::u16string> values;
  for (size_t i = 0; i < count; ++i) values.push_back(u"v" + ToTextUnsigned(i));
  return values;
}

TEST(TableFillingProcessorTest, InsertsTakeAThousandRowsEach) {
  struct Case {
    size_t values, statements, rowsInLast;
  } cases[] = {{0, 0, 0}, {1000, 1, 1000}, {1001, 2, 1}, {2500, 3, 500}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.values);
    const std::u16string text = CTableFillingProcessor::InsertText(u"INSERT INTO @T VALUES", Values(c.values));
    EXPECT_EQ(Count(text, u"INSERT INTO @T VALUES\n"), c.statements);
    EXPECT_EQ(Count(text, u";\n"), c.statements);
    EXPECT_EQ(Count(text, u"(N'v"), c.values);
    if (c.values == 0) continue;
    const std::u16string last = text.substr(text.rfind(u"VALUES\n"));
    EXPECT_EQ(Count(last, u"(N'"), c.rowsInLast);
    EXPECT_EQ(text.substr(text.size() - 2), u";\n");
    EXPECT_EQ(Count(text, u"),("), c.values - c.statements);  // no comma ends a statement
  }
}

TEST(TableFillingProcessorTest, TheFirstChildOfATableTakesEveryAliasAndOthersAreStillChecked) {
  CTableFillingProcessor processor;
  ASSERT_EQ(processor.Initialize(Parse(
                R"(<_><TableInfo _name="T" Alias="%T%" QueryAdjustTable="DECLARE @T;" QueryInsert="INSERT @T"/>)"
                R"(<TableInfo _name="T" Alias="%X%" QueryAdjustTable="second" QueryInsert="second"/>)"
                R"(<Other _name="U"/></_>)")),
            S_OK);
  struct Case {
    const char* children;
    HRESULT status;  // a later child is still checked (an unknown table: golden cases)
  } cases[] = {
      {R"(<TableFilling TableName="T" Values='str[]:["a"]'/><TableFilling TableName="T" Values='str[]:["b"]'/>)",
       S_OK},
      {R"(<TableFilling TableName="T" Values='str[]:["a"]'/><TableFilling TableName="T"/>)",
       E_NOTFOUND},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.children);
    VXNodePtr request = Parse(std::string("<Query>") + c.children + "</Query>");
    std::u16string text = u"%T%|%T%|%X%";
    EXPECT_EQ(processor.ProcessNode(request, VXNodePtr(), text), c.status);
    EXPECT_EQ(text, u"DECLARE @T;\nINSERT @T\n(N'a');\n|DECLARE @T;\nINSERT @T\n(N'a');\n|%X%");
  }
}

}  // namespace
}  // namespace QueriesProcessing
