#include <gtest/gtest.h>

#include "Common/Text.h"
#include "FakeConfigServer.h"
#include "tests/Common/FakeRequestContexts.h"
#include "QueriesProcessing/Scriptwright/Targeting/ConfigServerClient.h"

namespace QueriesProcessing {
namespace {

using Testing::FakeConfigServer;
namespace client = ConfigServerClient;

class ConfigServerClientTest : public ::testing::Test {
 protected:
  void SetUp() override { server_ = ::Testing::MakeFake<FakeConfigServer, IConfigNodes>(); }
  void TearDown() override { static_cast<IConfigNodes*>(server_)->Release(); }

  void Offer(size_t n) {
    server_->found.clear();
    for (size_t i = 0; i < n; ++i)
      server_->found.push_back(VXNodePtr::Create(u"", u"n" + ToText(static_cast<int64_t>(i))));
  }

  FakeConfigServer* server_ = nullptr;
};

TEST_F(ConfigServerClientTest, FindAllNodesFetchesInChunksOfAHundred) {
  struct Case {
    size_t available;
    uint32_t count;
    std::vector<std::string> calls;
    size_t expected;
  };
  const std::string first = "FindNodes(100,cursor)";
  const Case cases[] = {
      {250, client::kAllNodes, {first, "FindMore(100)", "FindMore(100)"}, 250},
      {100, client::kAllNodes, {first, "FindMore(100)"}, 100},  // a full chunk asks again
      {50, client::kAllNodes, {first}, 50},
      {150, 150, {first, "FindMore(50)"}, 150},  // a chunk of exactly count: no further call
      {500, 101, {first, "FindMore(1)"}, 101},
      {500, 100, {"FindNodes(100)"}, 100},
      {30, 40, {"FindNodes(40)"}, 30},
  };
  const VXNodePtr filter = client::MakePathFilter(u"\\Tallyvane\\ManagedObjects", true, 1);
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.available) + " nodes, count " + std::to_string(c.count));
    Offer(c.available);
    server_->calls.clear();
    server_->filters.clear();
    const std::vector<VXNodePtr> nodes = client::FindAllNodes(*server_, filter, c.count);
    EXPECT_EQ(server_->calls, c.calls);
    ASSERT_EQ(nodes.size(), c.expected);
    for (size_t i = 0; i < nodes.size(); ++i)
      ASSERT_EQ(nodes[i].get(), server_->found[i].get()) << i;
    ASSERT_FALSE(server_->filters.empty());
    EXPECT_EQ(server_->filters[0].get(), filter.get());
  }
}

TEST_F(ConfigServerClientTest, FindAllNodesStopsWithoutCursorAndRaisesFailures) {
  Offer(300);
  server_->giveCursor = false;
  EXPECT_EQ(
      client::FindAllNodes(*server_, client::MakePathFilter(u"\\A", true, 1), client::kAllNodes)
          .size(),
      100u);
  server_->giveCursor = true;

  const HRESULT broken = static_cast<HRESULT>(0x800706BA);
  for (const bool inFindMore : {false, true}) {
    (inFindMore ? server_->moreStatus : server_->findStatus) = broken;
    try {
      client::FindAllNodes(*server_, client::MakePathFilter(u"\\A", true, 1), client::kAllNodes);
      ADD_FAILURE() << "no failure, FindMore " << inFindMore;
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), broken);
    }
    server_->findStatus = server_->moreStatus = S_OK;
  }
}

TEST_F(ConfigServerClientTest, GetNodeAsksForOneWholeNode) {
  const VXNodePtr stored = VXNodePtr::Create(u"", u"ReportingSettingsHistory");
  server_->byPath = {{u"\\Tallyvane\\ReportingSettingsHistory", stored}};
  EXPECT_EQ(client::GetNode(*server_, u"\\Tallyvane\\ReportingSettingsHistory", true).get(),
            stored.get());
  EXPECT_EQ(server_->calls, std::vector<std::string>{"FindNodes(1)"});
  const VXNodePtr& filter = server_->filters[0];
  EXPECT_EQ(filter.GetName(), u"FilterByPath");
  EXPECT_EQ(filter.GetString(u"NodePath"), u"\\Tallyvane\\ReportingSettingsHistory");
  EXPECT_FALSE(filter.GetBool(u"IsParent"));
  EXPECT_EQ(filter.GetInt32(u"MaxDepth"), 0x7FFFFFFF);

  // A missing required node fails the history (MOHistoryTest); one not
  // required is null.
  EXPECT_FALSE(client::GetNode(*server_, u"\\No\\Such", false));
}

}  // namespace
}  // namespace QueriesProcessing
