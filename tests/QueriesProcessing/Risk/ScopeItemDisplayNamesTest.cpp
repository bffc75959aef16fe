#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Risk/ScopeItemDisplayNames.h"
#include "RiskWorld.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

TEST(ScopeItemDisplayNamesTest, RowsOfBothSourcesTheFirstCounts) {
  const ScopeItemDisplayNames names(
      {Parse(R"(<_><_ _value="Server" display_name="File server"/><_ _value="Share"/>
                  <_ _value="Site" display_name=""/><_ _value="Server" display_name="Later"/></_>)"),
       VXNodePtr(), Parse(R"(<_><_ _value="Share" display_name="Shared folder"/>
                  <_ _value="Server" display_name="Not this"/></_>)")});
  const struct {
    std::u16string value, type, expected;
  } cases[] = {
      {u"srv-01", u"Server", u"srv-01 (File server)"},
      {u"docs", u"Share", u"docs (Shared folder)"},
      {u"hq", u"Site", u"hq"},
      {u"x", u"Unknown", u"x"},
      {u"x", u"server", u"x"},
  };
  for (const auto& [value, type, expected] : cases) {
    EXPECT_EQ(names.DisplayText(value, type), expected) << ToUtf8(type);
  }
}

// Many threads ask at once: one fills the object, each source is searched
// once, and all see the same rows. Runs under ThreadSanitizer.
TEST(ScopeItemDisplayNamesTest, FilledOnceWhileThreadsAsk) {
  Testing::RiskWorld world;
  world.AddConfig(R"(<_ _name="Config"><_ _name="scope_items_config">
                       <_ _value="Server" display_name="File server"/></_></_>
                     <_ _name="LumenboardUI"><_ _name="scope_items_config">
                       <_ _value="Share" display_name="Shared folder"/></_></_>)");
  world.Serve();

  constexpr int kThreads = 8;
  std::latch start(kThreads);
  std::vector<std::u16string> seen(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      const ScopeItemDisplayNames& names = ScopeItemDisplayNames::Instance();
      seen[i] = names.DisplayText(u"a", u"Server") + names.DisplayText(u"b", u"Share");
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::u16string& text : seen) EXPECT_EQ(text, u"a (File server)b (Shared folder)");
  EXPECT_EQ(world.config->searches, 1);
  EXPECT_EQ(world.appConfig->searches, 1);
  EXPECT_EQ(&ScopeItemDisplayNames::Instance(), &ScopeItemDisplayNames::Instance());
  EXPECT_EQ(world.config->searches, 1);
}

}  // namespace
}  // namespace QueriesProcessing
