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

ViewEntry Entry(const std::string& db, const std::u16string& view, bool explicitOnly = false) {
  return ViewEntry::FromNode(Node("<_ db=\"" + db + "\" DatabaseSchema=\"i32:1\"/>"), u"dbo", view,
                             {3}, explicitOnly);
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
  EXPECT_EQ(Entry("Au]dit", u"vw]All").FullViewName, u"[AU]]DIT].[DBO].[VW]]ALL]");
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
    const ViewEntry entry = Entry(c.db, u"V", c.explicitOnly);
    DbTargetCollector collector(u"", 1);
    collector.Offer(entry, c.offeredExplicitly);
    EXPECT_EQ(collector.GetTargets().size(), c.admitted ? 1u : 0u);
  }
}

}  // namespace
}  // namespace QueriesProcessing
