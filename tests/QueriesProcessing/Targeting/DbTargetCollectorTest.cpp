#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Common/Text.h"
#include "DbNameWorld.h"
#include "QueriesProcessing/Common/DbKey.h"
#include "QueriesProcessing/Scriptwright/Targeting/DbTargetCollector.h"
#include "QueriesProcessing/Scriptwright/Targeting/ViewEntry.h"

namespace QueriesProcessing {
namespace {

using Testing::DbNameWorld;
using Testing::Node;

ViewEntry Entry(const std::string& db, const std::u16string& view, std::set<int32_t> products,
                int32_t schema = 1, bool explicitOnly = false) {
  return ViewEntry::FromNode(
      Node("<_ db=\"" + db + "\" DatabaseSchema=\"i32:" + std::to_string(schema) + "\"/>"), u"dbo",
      view, std::move(products), explicitOnly);
}

TEST(DbKeyTest, BracketsDoublesAndUpperCases) {
  struct Case {
    std::u16string_view name;
    std::u16string_view key;
  };
  const Case cases[] = {
      {u"Audit", u"[AUDIT]"}, {u"a]b", u"[A]]B]"},          {u"[x]", u"[[X]]]"},
      {u"", u"[]"},           {u"Straße ÿ", u"[STRAßE Ÿ]"},
  };
  for (const Case& c : cases) EXPECT_EQ(MakeDbKey(c.name), c.key) << ToUtf8(c.name);
}

TEST(ViewEntryTest, KeepsTheNameAsItStandsAndUpperCasesTheKeys) {
  const ViewEntry entry = ViewEntry::FromNode(Node(R"(<_ db="Au]dit" DatabaseSchema="i32:4"/>)"),
                                              u"dbo", u"vw]All", {3, 7}, true);
  EXPECT_EQ(entry.DbName, u"Au]dit");
  EXPECT_EQ(entry.SchemaName, u"dbo");
  EXPECT_EQ(entry.ViewName, u"vw]All");
  EXPECT_EQ(entry.DbKey, u"[AU]]DIT]");
  EXPECT_EQ(entry.FullViewName, u"[AU]]DIT].[DBO].[VW]]ALL]");
  EXPECT_EQ(entry.DatabaseSchema, 4);
  EXPECT_EQ(entry.ProductIds, (std::set<int32_t>{3, 7}));
  EXPECT_TRUE(entry.ExplicitOnly);
}

class DbTargetCollectorTest : public ::testing::Test {
 protected:
  DbNameWorld world_;
};

TEST_F(DbTargetCollectorTest, HealthAndExplicitnessDecide) {
  // Each database's health as the gate reports it; "Unknown" is not
  // reported, and neither is "Case": names are exact.
  world_.SetHealth({{"UpMandatory", true, true},
                    {"Up", true, false},
                    {"DownMandatory", false, true},
                    {"Down", false, false},
                    {"case", false, false}});
  struct Case {
    const char* db;
    bool explicitOnly;
    bool offeredExplicitly;
    bool admitted;
  };
  const Case cases[] = {
      {"UpMandatory", false, false, true},
      {"Up", false, false, true},
      {"DownMandatory", false, false, true},
      {"Down", false, false, false},
      {"Unknown", false, false, true},
      {"Case", false, false, true},
      {"Up", true, false, false},
      {"Up", true, true, true},
      {"Down", true, true, false},
      {"Down", false, true, false},
      {"Unknown", true, true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.db) + (c.explicitOnly ? " explicit only" : "") +
                 (c.offeredExplicitly ? " offered explicitly" : ""));
    const ViewEntry entry = Entry(c.db, u"V", {3}, 1, c.explicitOnly);
    DbTargetCollector collector(u"", 1);
    collector.Offer(entry, c.offeredExplicitly);
    EXPECT_EQ(collector.GetTargets().size(), c.admitted ? 1u : 0u);
  }
}

TEST_F(DbTargetCollectorTest, OnePairPerDatabaseAndViewWithTheFirstEntry) {
  const ViewEntry first = Entry("Audit", u"V", {3});
  const ViewEntry sameKey = Entry("AUDIT", u"V", {7, 8});
  const ViewEntry otherView = Entry("audit", u"W", {9});
  DbTargetCollector collector(u"", 1);
  for (const ViewEntry* entry : {&first, &sameKey, &otherView}) collector.Offer(*entry, false);
  const DbTargetCollector::Targets& targets = collector.GetTargets();
  ASSERT_EQ(targets.size(), 1u);
  const DbTargetCollector::Views& views = targets.at(u"[AUDIT]");
  ASSERT_EQ(views.size(), 2u);
  EXPECT_EQ(views.at(u"V").Entry, &first);
  EXPECT_EQ(views.at(u"V").ProductIds, (std::set<int32_t>{3, 7, 8}));
  EXPECT_EQ(first.ProductIds, std::set<int32_t>{3});  // the entry keeps its own
  EXPECT_EQ(views.at(u"W").Entry, &otherView);
  EXPECT_EQ(world_.gate->requests.size(), 1u);
}

TEST_F(DbTargetCollectorTest, OffersViewsOfTheRequestedSchemaAndName) {
  ProductViews views;
  views.Add(3, Entry("A", u"V", {3}));
  views.Add(3, Entry("B", u"V", {3}, 2));
  views.Add(3, Entry("C", u"X", {3}, 1, true));
  const ProductViews::ViewsByName& product = *views.Find(3);
  struct Case {
    std::u16string explicitView;
    int32_t schema;
    std::vector<std::u16string> databases;
  };
  const Case cases[] = {
      {u"", 1, {u"[A]"}},  {u"", 2, {u"[B]"}}, {u"V", 1, {u"[A]"}},
      {u"X", 1, {u"[C]"}}, {u"X", 2, {}},      {u"v", 1, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.explicitView) + " schema " + std::to_string(c.schema));
    DbTargetCollector collector(c.explicitView, c.schema);
    collector.OfferViews(product);
    std::vector<std::u16string> databases;
    for (const auto& [key, pairs] : collector.GetTargets()) databases.emplace_back(key);
    EXPECT_EQ(databases, c.databases);
  }
  EXPECT_EQ(views.Find(4), nullptr);
}

}  // namespace
}  // namespace QueriesProcessing
