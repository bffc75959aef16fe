#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"

#include <gtest/gtest.h>

#include "Common/Text.h"
#include "TestProcessors.h"

namespace QueriesProcessing {
namespace {

using Testing::Node;

VXNodePtr Template(std::u16string_view name, std::initializer_list<std::u16string_view> commands) {
  VXNodePtr node = Node(u"query_template", name);
  for (auto command : commands) {
    VXNodePtr child = Node(u"sql_command", command, {{u"command", u"-- " + std::u16string(name)}});
    child.SetStringList(u"variables", {u"%MARK%"});
    node.AddChild(child);
  }
  return node;
}

VXNodePtr Catalog(std::initializer_list<VXNodePtr> templates) {
  VXNodePtr catalog = Node(u"catalog", u"", {}, {Node(u"", u"%MARK%")});
  catalog.SetStringList(u"complex_condition_names", {u"Who", u"Where"});
  for (const auto& t : templates) catalog.AddChild(t);
  return catalog;
}

class ScriptwrightImplTest : public ::testing::Test {
 protected:
  void Load(const VXNodePtr& catalog) {
    ASSERT_EQ(engine_.Initialize(catalog), S_OK);
    CProcessorsManager::Instance().Initialize(catalog, Testing::TestTable());
  }

  // The SQL of each Command child, in order.
  static std::vector<std::string> Commands(const VXNodePtr& request) {
    std::vector<std::string> texts;
    request.ForEachChild([&](const VXNodePtr& child) {
      if (child.GetName() == u"Command") texts.push_back(ToUtf8(child.GetString(u"SQL_Command")));
    });
    return texts;
  }

  CScriptwrightImpl engine_;
};

VXNodePtr Request(std::u16string_view templateName, VXNodePtr conditions = VXNodePtr()) {
  VXNodePtr request = Node(u"Query", u"", {{u"Query_Template_Name", templateName}});
  if (conditions) request.AddChild(conditions);
  return request;
}

// The plain fallback and "Column" for "Columnn" are pinned by the golden case
// core/light-fallback, the default page growth by core/continuous.
TEST_F(ScriptwrightImplTest, LightFallback) {
  Load(Catalog({Template(u"query_all_data_by_rid_with_cm_sort", {u"full"}),
                Template(u"query_all_data_by_rid_with_cm_sort_light", {u"light"}),
                Template(u"query_all_data_by_rid_with_cm_sort_while_with_classes", {u"full"}),
                Template(u"query_all_data_by_rid_with_cm_sort_while_light_with_classes", {u"light"}),
                Template(u"plain", {u"plain"})}));
  VXNodePtr deep = Node(u"", u"Conditions", {},
                        {Node(u"AND", u"", {}, {Node(u"", u"", {{u"Columnn", u"What"}}),
                                                Node(u"OR", u"", {}, {Node(u"", u"", {{u"Columnn", u"Where"}})})})});
  struct Case {
    const char* what;
    std::u16string name;
    VXNodePtr conditions;
    std::u16string expectedName;
    std::string expectedCommand;
  } cases[] = {
      {"deep complex column", u"query_all_data_by_rid_with_cm_sort", deep, u"query_all_data_by_rid_with_cm_sort",
       "full"},
      {"case matters", u"query_all_data_by_rid_with_cm_sort", Node(u"", u"Conditions", {{u"Columnn", u"who"}}),
       u"query_all_data_by_rid_with_cm_sort_light", "light"},
      {"classes form", u"query_all_data_by_rid_with_cm_sort_while_with_classes", VXNodePtr(),
       u"query_all_data_by_rid_with_cm_sort_while_light_with_classes", "light"},
      {"no light form", u"plain", VXNodePtr(), u"plain", "plain"},
  };
  for (auto& c : cases) {
    VXNodePtr request = Request(c.name, c.conditions ? c.conditions.Clone() : VXNodePtr());
    ASSERT_EQ(engine_.Prepare(request), S_OK) << c.what;
    EXPECT_EQ(ToUtf8(request.GetString(u"Query_Template_Name")), ToUtf8(c.expectedName)) << c.what;
    ASSERT_EQ(Commands(request).size(), 1u) << c.what;
    EXPECT_EQ(Commands(request)[0], "\n/***\n" + c.expectedCommand + "\n***/\n-- " + ToUtf8(c.expectedName) + "[" +
                                        c.expectedCommand + ":-]")
        << c.what;
  }
}

TEST_F(ScriptwrightImplTest, ContinuousPage) {
  VXNodePtr catalog = Catalog({Template(u"t", {})});
  catalog.SetUInt32(u"page_expand_size", 50);
  Load(catalog);

  VXNodePtr noTop = Request(u"t");
  noTop.SetBool(u"Continuous", true);
  ASSERT_EQ(engine_.Prepare(noTop), S_OK);
  EXPECT_EQ(noTop.GetUInt32(u"MaxCount"), 2000u);
  EXPECT_EQ(noTop.GetUInt32(u"Top"), 2050u);
  EXPECT_EQ(noTop.GetAttributeType(u"Top"), VXN_UINT32);

  ASSERT_EQ(engine_.Prepare(noTop), S_OK);  // a second run enlarges again
  EXPECT_EQ(noTop.GetUInt32(u"MaxCount"), 2050u);
  EXPECT_EQ(noTop.GetUInt32(u"Top"), 2100u);

  VXNodePtr notContinuous = Request(u"t");
  notContinuous.SetBool(u"Continuous", false);
  ASSERT_EQ(engine_.Prepare(notContinuous), S_OK);
  EXPECT_FALSE(notContinuous.HasAttribute(u"Top"));
  EXPECT_FALSE(notContinuous.HasAttribute(u"MaxCount"));
}

TEST_F(ScriptwrightImplTest, RequestAttributesAndCommandNodes) {
  VXNodePtr t = Template(u"t", {u"first", u"second"});
  t.SetInt32(u"db_schema", 3);
  Load(Catalog({t}));

  VXNodePtr request = Request(u"t");
  request.AddChild(Node(u"", u"Existing"));
  request.SetInt32(u"DBSchema", 99);
  request.SetBool(u"IncompleteMembers", true);
  request.SetInt32(u"LimitCountMembers", 5);
  request.SetBool(u"MergeDatasets", false);
  ASSERT_EQ(engine_.Prepare(request), S_OK);
  EXPECT_EQ(request.GetInt32(u"DBSchema"), 3);
  EXPECT_TRUE(request.GetBool(u"IncompleteMembers"));
  EXPECT_EQ(request.GetInt32(u"LimitCountMembers"), 5);
  ASSERT_EQ(request.ChildCount(), 3u);
  EXPECT_EQ(request.ChildAt(0).GetName(), u"Existing");

  VXNodePtr command = request.ChildAt(2);
  EXPECT_EQ(command.GetName(), u"Command");
  EXPECT_EQ(command.GetType(), u"");
  EXPECT_EQ(command.AttributeNames(), (std::vector<std::u16string>{u"SQL_Command", u"no_result", u"final",
                                                                    u"always_execute", u"multiple_dataset",
                                                                    u"merge_dataset"}));
  EXPECT_TRUE(command.GetBool(u"no_result"));
  EXPECT_FALSE(command.GetBool(u"merge_dataset"));
  EXPECT_EQ(Commands(request)[1], "\n/***\nsecond\n***/\n-- t[second:-]");

  VXNodePtr fresh = Request(u"t");
  ASSERT_EQ(engine_.Prepare(fresh), S_OK);
  EXPECT_FALSE(fresh.GetBool(u"IncompleteMembers"));
  EXPECT_EQ(fresh.GetInt32(u"LimitCountMembers"), -1);
  EXPECT_TRUE(fresh.ChildAt(0).GetBool(u"merge_dataset"));
}

TEST_F(ScriptwrightImplTest, EmptyTemplateAndRebuild) {
  Load(Catalog({Template(u"empty", {}), Template(u"old", {u"c"})}));
  VXNodePtr request = Request(u"empty");
  ASSERT_EQ(engine_.Prepare(request), S_OK);
  EXPECT_EQ(request.ChildCount(), 0u);

  Load(Catalog({Template(u"new", {u"c"})}));
  VXNodePtr old = Request(u"old");
  EXPECT_EQ(engine_.Prepare(old), E_INVALIDARG);
  VXNodePtr later = Request(u"new");
  EXPECT_EQ(engine_.Prepare(later), S_OK);
}

TEST_F(ScriptwrightImplTest, DuplicateTemplateNameKeepsTheLast) {
  Load(Catalog({Template(u"t", {u"first"}), Template(u"t", {u"last"})}));
  VXNodePtr request = Request(u"t");
  ASSERT_EQ(engine_.Prepare(request), S_OK);
  EXPECT_EQ(Commands(request)[0], "\n/***\nlast\n***/\n-- t[last:-]");
}

TEST_F(ScriptwrightImplTest, Failures) {
  Load(Catalog({Template(u"query_all_data_by_rid_with_cm_sort", {u"c"}), Template(u"t", {u"c"})}));

  // A request without a name or of an unknown template is pinned by the
  // golden case core/failures; a failed fallback leaves the name as it was.
  VXNodePtr lightMissing = Request(u"query_all_data_by_rid_with_cm_sort");
  EXPECT_EQ(engine_.Prepare(lightMissing), E_INVALIDARG);
  EXPECT_EQ(lightMissing.GetString(u"Query_Template_Name"), u"query_all_data_by_rid_with_cm_sort");

  VXNodePtr catalog = Catalog({});
  catalog.DeleteAttribute(u"complex_condition_names");
  EXPECT_EQ(engine_.Initialize(catalog), E_NOTFOUND);
}

TEST_F(ScriptwrightImplTest, FailingProcessorKeepsEarlierCommands) {
  VXNodePtr t = Node(u"query_template", u"t", {},
                     {Node(u"sql_command", u"ok", {{u"command", u"A"}}),
                      Node(u"sql_command", u"bad", {{u"command", u"B"}},
                           {Node(u"", u"variable_processors", {},
                                 {Node(u"variable_processor", u"",
                                       {{u"processor_alias", u"%MARK%"}, {u"fail", u"2147500037"}})})}),
                      Node(u"sql_command", u"never", {{u"command", u"C"}})});
  Load(Catalog({t}));
  VXNodePtr request = Request(u"t");
  EXPECT_EQ(engine_.Prepare(request), E_FAIL);
  EXPECT_EQ(Commands(request), std::vector<std::string>{"\n/***\nok\n***/\nA"});
  EXPECT_EQ(request.GetString(u"CurrentCommand"), u"bad");
}

}  // namespace
}  // namespace QueriesProcessing
