#include <gtest/gtest.h>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "QueriesProcessing/Common/NodeConversions.h"

namespace QueriesProcessing {
namespace {

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

std::string Text(const VXNodePtr& node) { return WriteNodeText({node}, VXN_TEXT_NO_DECLARATION); }

NodeConversions Table(const std::string& text) {
  NodeConversions conversions;
  conversions.Init(Node(text));
  return conversions;
}

constexpr char kRules[] = R"x(<NodeConversion>
    <_ _name="Condition">
      <_ _name="NodeMatching" Kind="who" Scope="i32:2"/>
      <_ _name="NodeTemplate" Operator="IN" Scope="u32:7"/>
    </_>
    <_ _name="Group"><_ _name="NodeMatching"/></_>
    <_ _name="Condition">
      <_ _name="NodeMatching" Kind="what"/>
      <_ _name="NodeTemplate" Operator="LIKE"/>
    </_>
    <_ _name="Sort"><_ _name="NodeMatching" Column="When"/></_>
  </NodeConversion>)x";

TEST(NodeConversionsTest, MatchesAndRewritesByNodeType) {
  struct Case {
    const char* what;
    const char* node;
    bool defined;
    const char* applied;  // null: Apply leaves the node as it was
  };
  const Case cases[] = {
      {"first pattern attribute matches", R"(<Condition Kind="who"/>)", true,
       R"(<Condition Kind="who" Operator="IN" Scope="u32:7"/>)"},
      {"second attribute alone is enough (OR); Scope is replaced where it stands",
       R"(<Condition Scope="i32:2" Kind="x"/>)", true,
       R"(<Condition Scope="u32:7" Kind="x" Operator="IN"/>)"},
      {"same value of another type is no match, Apply still rewrites",
       R"(<Condition Scope="u32:2"/>)", false, R"(<Condition Scope="u32:7" Operator="IN"/>)"},
      {"string values compare exactly", R"(<Condition Kind="WHO"/>)", false,
       R"(<Condition Kind="WHO" Operator="IN" Scope="u32:7"/>)"},
      {"a second rule under the same key is ignored", R"(<Condition Kind="what"/>)", false,
       R"(<Condition Kind="what" Operator="IN" Scope="u32:7"/>)"},
      {"name, value and children stay",
       R"(<Condition _name="n" _value="v" Kind="who"><_ _name="kid" A="1"/></Condition>)", true,
       R"(<Condition _name="n" _value="v" Kind="who" Operator="IN" Scope="u32:7"><_ _name="kid" A="1"/></Condition>)"},
      {"empty pattern takes every node of its type", R"(<Group Any="1"><_ _name="c"/></Group>)",
       true, nullptr},
      {"no template: nothing to copy", R"(<Sort Column="When" Direction="ASC"/>)", true, nullptr},
      {"no rule for the type, though another rule's pattern fits", R"(<Other Kind="who"/>)", false,
       nullptr},
      {"the key is compared with the node type, not the name",
       R"(<_ _name="Condition" Kind="who"/>)", false, nullptr},
      {"node type compares exactly", R"(<condition Kind="who"/>)", false, nullptr},
  };
  const NodeConversions conversions = Table(kRules);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const VXNodePtr node = Node(c.node);
    EXPECT_EQ(conversions.IsDefined(node), c.defined);
    conversions.Apply(node);
    EXPECT_EQ(Text(node), Text(Node(c.applied ? c.applied : c.node)));
  }
}

TEST(NodeConversionsTest, EmptyAndNullConfigurationsHaveNoRules) {
  for (const VXNodePtr& config : {Node("<NodeConversion/>"), VXNodePtr()}) {
    NodeConversions conversions;
    conversions.Init(config);
    const VXNodePtr node = Node(R"(<Condition Kind="who"/>)");
    EXPECT_FALSE(conversions.IsDefined(node));
    conversions.Apply(node);
    EXPECT_EQ(Text(node), Text(Node(R"(<Condition Kind="who"/>)")));
  }
}

TEST(NodeConversionsTest, RuleWithoutPatternFailsInit) {
  NodeConversions conversions;
  try {
    conversions.Init(Node(
        R"(<NodeConversion><_ _name="Condition"><_ _name="NodeTemplate" A="1"/></_></NodeConversion>)"));
    FAIL() << "no failure";
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_NOTFOUND);
  }
}

TEST(NodeConversionsTest, CopiesOutliveTheConfigurationAndTheOriginal) {
  NodeConversions copy;
  {
    VXNodePtr config = Node(kRules);
    NodeConversions original;
    original.Init(config);
    config.GetChild(u"Condition").GetChild(u"NodeMatching").SetString(u"Kind", u"changed later");
    copy = original;
  }
  const VXNodePtr node = Node(R"(<Condition Kind="who"/>)");
  EXPECT_TRUE(copy.IsDefined(node));
  copy.Apply(node);
  EXPECT_EQ(node.GetString(u"Operator"), u"IN");
}

}  // namespace
}  // namespace QueriesProcessing
