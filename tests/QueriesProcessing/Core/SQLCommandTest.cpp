#include "QueriesProcessing/Scriptwright/Core/SQLCommand.h"

#include <gtest/gtest.h>

#include "Common/Text.h"
#include "TestProcessors.h"

namespace QueriesProcessing {
namespace {

using Testing::Node;
using Testing::StatusOf;

class SQLCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VXNodePtr config = Node(u"catalog", u"", {}, {Node(u"", u"%MARK%"), Node(u"", u"%ECHO%")});
    CProcessorsManager::Instance().Initialize(config, Testing::TestTable());
  }

  static std::string Generate(const VXNodePtr& commandNode, VXNodePtr request = Node(u"Query", u"")) {
    return ToUtf8(CSQLCommand(commandNode).GenerateText(request));
  }
};

TEST_F(SQLCommandTest, BannerThenTextThroughListedProcessors) {
  VXNodePtr command = Node(u"sql_command", u"main", {{u"command", u"SELECT %ECHO%"}});
  command.SetStringList(u"variables", {u"%ECHO%", u"%MARK%", u"%MARK%"});
  VXNodePtr request = Node(u"Query", u"", {{u"Echo", u"42"}});
  EXPECT_EQ(Generate(command, request), "\n/***\nmain\n***/\nSELECT 42[main:-][main:-]");
}

TEST_F(SQLCommandTest, ProcessorListChoice) {
  VXNodePtr listed = Node(u"sql_command", u"c", {{u"command", u"X"}},
                          {Node(u"", u"variable_processors", {},
                                {Node(u"variable_processor", u"", {{u"processor_alias", u"%MARK%"}, {u"mark", u"one"}}),
                                 Node(u"other", u"", {{u"processor_alias", u"%MARK%"}}),
                                 Node(u"variable_processor", u"", {{u"processor_alias", u"%MARK%"}, {u"mark", u"two"}})})});
  listed.SetStringList(u"variables", {u"%ECHO%"});
  EXPECT_EQ(Generate(listed), "\n/***\nc\n***/\nX[c:one][c:two]");

  VXNodePtr emptyList = Node(u"sql_command", u"c", {{u"command", u"X %ECHO%"}}, {Node(u"", u"variable_processors")});
  emptyList.SetStringList(u"variables", {u"%ECHO%"});
  EXPECT_EQ(Generate(emptyList), "\n/***\nc\n***/\nX %ECHO%");
}

TEST_F(SQLCommandTest, PartsJoinWithoutSeparatorAndNameTheCurrentCommand) {
  VXNodePtr inner = Node(u"sql_command_part", u"b", {{u"command", u"B"}});
  inner.SetStringList(u"variables", {u"%MARK%"});
  VXNodePtr command = Node(u"sql_command", u"outer", {},
                           {Node(u"sql_command_part", u"a", {{u"command", u"A"}}),
                            Node(u"sql_command_part", u"mid", {}, {inner})});
  VXNodePtr request = Node(u"Query", u"", {{u"CurrentCommand", u"before"}});
  EXPECT_EQ(Generate(command, request), "\n/***\na\n***/\nA\n/***\nb\n***/\nB[b:-]");
  EXPECT_EQ(ToUtf8(request.GetString(u"CurrentCommand")), "before");

  VXNodePtr fresh = Node(u"Query", u"");
  Generate(Node(u"sql_command", u"x", {{u"command", u"X"}}), fresh);
  EXPECT_TRUE(fresh.HasAttribute(u"CurrentCommand"));
  EXPECT_EQ(fresh.GetString(u"CurrentCommand"), u"");
}

// The flags and their defaults are pinned by the golden cases' command headers.
TEST_F(SQLCommandTest, Failures) {
  struct Case {
    const char* what;
    std::function<void()> body;
    HRESULT expected;
  } cases[] = {
      {"missing command", [] { CSQLCommand(Node(u"sql_command", u"c")); }, E_NOTFOUND},
      {"missing alias",
       [] {
         CSQLCommand(Node(u"sql_command", u"c", {{u"command", u"X"}},
                          {Node(u"", u"variable_processors", {}, {Node(u"variable_processor", u"")})}));
       },
       E_NOTFOUND},
      {"unregistered token at generation",
       [] {
         VXNodePtr node = Node(u"sql_command", u"c", {{u"command", u"X"}});
         node.SetStringList(u"variables", {u"%NOPE%"});
         CSQLCommand command(node);  // loads fine
         Generate(node);
       },
       E_INVALIDARG},
      {"failing processor",
       [] {
         Generate(Node(u"sql_command", u"c", {{u"command", u"X"}},
                       {Node(u"", u"variable_processors", {},
                             {Node(u"variable_processor", u"", {{u"processor_alias", u"%MARK%"}, {u"fail", u"2147942487"}})})}));
       },
       E_INVALIDARG},
  };
  for (auto& c : cases) EXPECT_EQ(StatusOf(c.body), c.expected) << c.what;
}

}  // namespace
}  // namespace QueriesProcessing
