#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

#include <gtest/gtest.h>

#include "TestProcessors.h"

namespace QueriesProcessing {
namespace {

using Testing::Node;
using Testing::StatusOf;

CProcessorsManager& Manager() { return CProcessorsManager::Instance(); }

TEST(ProcessorsManagerTest, MakesOneObjectPerConfiguredToken) {
  Manager().Initialize(Node(u"catalog", u"", {}, {Node(u"", u"%MARK%"), Node(u"", u"%MARK2%")}), Testing::TestTable());
  auto mark = Manager().Find(u"%MARK%");
  ASSERT_TRUE(mark);
  EXPECT_NE(mark, Manager().Find(u"%MARK2%"));  // same class, separate objects
  EXPECT_FALSE(Manager().Find(u"%ECHO%"));

  // Two uses of one token share its object.
  VXNodePtr request = Node(u"Query", u"");
  std::u16string text;
  Manager().ProcessVariable(request, VXNodePtr(), u"%MARK%", text);
  Manager().ProcessVariable(request, Node(u"variable_processor", u"", {{u"mark", u"m"}}), u"%MARK%", text);
  EXPECT_EQ(static_cast<Testing::MarkProcessor&>(*mark).calls, 2);
  EXPECT_EQ(text, u"[?:-][?:m]");
}

TEST(ProcessorsManagerTest, RebuildDropsTokensNoLongerConfigured) {
  Manager().Initialize(Node(u"catalog", u"", {}, {Node(u"", u"%MARK%")}), Testing::TestTable());
  auto before = Manager().Find(u"%MARK%");
  Manager().Initialize(Node(u"catalog", u"", {}, {Node(u"", u"%ECHO%")}), Testing::TestTable());
  EXPECT_FALSE(Manager().Find(u"%MARK%"));
  EXPECT_TRUE(Manager().Find(u"%ECHO%"));

  Manager().Initialize(Node(u"catalog", u""), Testing::TestTable());
  VXNodePtr request = Node(u"Query", u"");
  std::u16string text = u"unchanged";
  EXPECT_EQ(StatusOf([&] { Manager().ProcessVariable(request, VXNodePtr(), u"%ECHO%", text); }), E_INVALIDARG);
  EXPECT_EQ(text, u"unchanged");
}

TEST(ProcessorsManagerTest, FailingInitializeStopsTheRowsBehindIt) {
  VXNodePtr config = Node(u"catalog", u"", {},
                          {Node(u"", u"%MARK2%"), Node(u"", u"%ECHO%"), Node(u"", u"%MARK%", {{u"fail", u"2147943568"}})});
  EXPECT_EQ(StatusOf([&] { Manager().Initialize(config, Testing::TestTable()); }), E_NOTFOUND);
  EXPECT_TRUE(Manager().Find(u"%MARK%"));  // the failing one stays registered
  EXPECT_FALSE(Manager().Find(u"%ECHO%"));
  EXPECT_FALSE(Manager().Find(u"%MARK2%"));
}

}  // namespace
}  // namespace QueriesProcessing
