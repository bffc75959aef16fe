#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/NamedInstances.h"
#include "QueriesProcessing/Scriptwright/Membership/GroupMembershipResolver.h"
#include "tests/Common/FakeRequestContexts.h"
#include "tests/QueriesProcessing/Joins/JoinsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::StatusOf;
using namespace std::chrono_literals;

// "Core.ServiceClient" and a directory service that gives its scripted
// answers in turn and fails once they run out.
class FakeDirectory : public CComponentBase, public IServiceClient, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceClient, IServiceProxy>;
  HRESULT OpenService(const char16_t* url, uint32_t, const GUID& iid, void** proxy) override {
    urls.emplace_back(url);
    if (Failed(openStatus)) return openStatus;
    return static_cast<IServiceClient*>(this)->QueryInterface(iid, proxy);
  }
  HRESULT Call(const VXNodePtr& request, VXNodePtr* out) override {
    requests.push_back(request.Clone());
    if (answers.empty()) return E_FAIL;
    *out = Parse(answers.front());
    answers.pop_front();
    return S_OK;
  }

  HRESULT openStatus = S_OK;
  std::deque<std::string> answers;
  std::vector<std::u16string> urls;
  std::vector<VXNodePtr> requests;
};

FakeDirectory* gDirectory = nullptr;

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  if (std::u16string_view(name) == u"Core.ServiceClient" && gDirectory)
    return static_cast<IServiceClient*>(gDirectory)->QueryInterface(*iid, out);
  return E_NOTFOUND;
}

// Time moves only when the resolver sleeps.
class FakeClock : public PollClock {
 public:
  TimePoint Now() const override { return now; }
  void SleepFor(Duration duration) const override {
    sleeps.push_back(duration);
    now += duration;
  }
  mutable TimePoint now{};
  mutable std::vector<Duration> sleeps;
};

constexpr char kStarted[] = R"(<_ SessionId="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}"/>)";
constexpr char kNotReady[] = R"(<_ ResultCode="i32:1"/>)";

std::string Config(int count) {
  return R"(<_ _name="GroupMembershipResolver" SitServiceUrl="sit://directory" CountTryGetData="i32:)" +
         std::to_string(count) +
         R"(" SleepTryGetData="i32:2" RequestedAttribute='str[]:["sAMAccountName","objectSid"]')"
         R"( RequestedMemberTypes='str[]:["user","group"]'/>)";
}

// A page of members; `last` ends the lookup.
std::string Page(const std::vector<std::string>& members, bool last,
                 const std::string& extra = "") {
  std::string page = R"(<_ ResultCode="i32:0" RootObjectFound="i32:1" IsLastResponce="bool:)" +
                     std::string(last ? "true" : "false") + "\"" + extra + ">";
  for (const auto& member : members) page += R"(<_ NTAccountName=")" + member + R"("/>)";
  return page + "</_>";
}

class GroupMembershipResolverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gDirectory = ::Testing::MakeFake<FakeDirectory, IServiceClient>();
    ScriptwrightSetNamedInstanceProvider(&Provide);
  }
  void TearDown() override {
    ScriptwrightSetNamedInstanceProvider(nullptr);
    static_cast<IServiceClient*>(gDirectory)->Release();
    gDirectory = nullptr;
  }

  std::unique_ptr<CGroupMembershipResolver> Make(int count,
                                                 std::optional<uint64_t> limit = std::nullopt) {
    return std::make_unique<CGroupMembershipResolver>(Parse(Config(count)), limit, clock_);
  }

  std::shared_ptr<FakeClock> clock_ = std::make_shared<FakeClock>();
};

std::vector<std::u16string> Sorted(const AccountNames& names) {
  std::vector<std::u16string> sorted(names.begin(), names.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

TEST_F(GroupMembershipResolverTest, PollsUntilTheLastPage) {
  struct Case {
    const char* what;
    int count;
    std::optional<uint64_t> limit;
    std::vector<std::string> answers;  // after the session's
    HRESULT status;
    std::vector<std::u16string> names;
    bool exceeded;
    size_t polls, sleeps;  // data requests; one-second sleeps
  } cases[] = {
      {"two pages, each reset nothing", 3, {},
       {kNotReady, Page({"a", "b"}, false), kNotReady, Page({"c", "a"}, true)}, S_OK,
       {u"a", u"b", u"c"}, false, 4, 4},
      {"limit 1, one member", 3, 1, {Page({"a"}, true)}, S_OK, {u"a"}, true, 1, 0},
      {"limit 2, one member", 3, 2, {Page({"a"}, true)}, S_OK, {u"a"}, false, 1, 0},
      {"limit 2, the service ignores it", 3, 2, {Page({"a", "b", "c", "d"}, false)}, S_OK,
       {u"a", u"b", u"c"}, true, 1, 0},
      {"a repeated name counts", 3, 2, {Page({"a", "a"}, true)}, S_OK, {u"a"}, true, 1, 0},
      {"unknown group", 3, 1,
       {R"(<_ ResultCode="i32:0" RootObjectFound="i32:0"><_ NTAccountName="x"/></_>)"}, S_OK, {},
       false, 1, 0},
      {"count 0 polls never", 0, {}, {}, E_TIMEOUT, {}, false, 0, 0},
      {"not ready every time", 2, {}, {kNotReady, kNotReady}, E_TIMEOUT, {}, false, 2, 4},
      {"not ready after data keeps the data", 1, {}, {Page({"a"}, false), kNotReady}, S_OK,
       {u"a"}, false, 2, 2},
      {"another positive code counts no try", 1, {},
       {R"(<_ ResultCode="i32:2"/>)", R"(<_ ResultCode="i32:2"/>)", Page({"a"}, true)}, S_OK,
       {u"a"}, false, 3, 0},
      // The service's text goes with its code: the directory-refuses golden case.
      {"the service fails", 3, {},
       {kNotReady, R"(<_ ResultCode="i32:-2147024891" ErrorText="no rights"/>)"},
       static_cast<HRESULT>(0x80070005), {}, false, 2, 2},
      {"no ResultCode", 3, {}, {"<_/>"}, E_NOTFOUND, {}, false, 1, 0},
      {"a member without name", 3, {},
       {R"(<_ ResultCode="i32:0" RootObjectFound="i32:1"><_/></_>)"}, E_NOTFOUND, {}, false, 1, 0},
      {"the transport fails", 3, {}, {kNotReady}, E_FAIL, {}, false, 2, 2},
  };
  for (const auto& c : cases) {
    auto resolver = Make(c.count, c.limit);
    gDirectory->requests.clear();
    gDirectory->answers.assign({kStarted});
    gDirectory->answers.insert(gDirectory->answers.end(), c.answers.begin(), c.answers.end());
    clock_->sleeps.clear();
    ResolvedMembers members;
    EXPECT_EQ(StatusOf([&] { members = resolver->ResolveSingleGroup(u"Staff"); }), c.status)
        << c.what;
    EXPECT_EQ(Sorted(members.names), c.names) << c.what;
    EXPECT_EQ(members.exceeded, c.exceeded) << c.what;
    ASSERT_EQ(gDirectory->requests.size(), c.polls + 1) << c.what;
    for (size_t i = 1; i < gDirectory->requests.size(); ++i) {
      const VXNodePtr& poll = gDirectory->requests[i];
      EXPECT_EQ(poll.GetType(), u"SitDataRequest") << c.what;
      EXPECT_EQ(FormatGuid(poll.GetGuid(u"SessionId"), 0),
                u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");
    }
    EXPECT_EQ(clock_->sleeps, std::vector<PollClock::Duration>(c.sleeps, 1s)) << c.what;
  }
}

TEST_F(GroupMembershipResolverTest, FirstRequestCarriesTheTemplate) {
  struct Case {
    std::optional<uint64_t> limit;
    uint32_t pageSize;
  } cases[] = {{{}, 3000}, {5, 5}, {5000, 3000}};
  for (const auto& c : cases) {
    auto resolver = Make(1, c.limit);
    gDirectory->requests.clear();
    gDirectory->answers.assign({kStarted, Page({}, true)});
    resolver->ResolveSingleGroup(u"Domain Admins");
    const VXNodePtr& first = gDirectory->requests.at(0);
    EXPECT_EQ(first.GetType(), u"SitRequest");
    for (const auto& [name, value] : {std::pair{u"Operation", u"GetReferralMembership"},
                                      {u"FieldsList", u"sAMAccountName,objectSid"},
                                      {u"ScopeFilterValue", u"user,group"},
                                      {u"ScopeFilterProperty", u"objectClass"},
                                      {u"ScopeFilterOperator", u"In"},
                                      {u"ObjectID", u"Domain Admins"}}) {
      EXPECT_EQ(first.GetString(name), value) << ToUtf8(name);
    }
    EXPECT_EQ(first.GetUInt32(u"PageSize"), c.pageSize);
    EXPECT_EQ(first.HasAttribute(u"RecordsLimit"), c.limit.has_value());
    if (!c.limit) continue;
    uint32_t type = 0;
    const std::vector<uint8_t> raw = first.GetRaw(u"RecordsLimit", type);
    uint64_t sent = 0;
    ASSERT_EQ(raw.size(), sizeof(sent));
    std::memcpy(&sent, raw.data(), sizeof(sent));
    EXPECT_EQ(*first.GetAttributeType(u"RecordsLimit"), static_cast<uint32_t>(VXN_UINT64));
    EXPECT_EQ(sent, *c.limit);
  }
  EXPECT_EQ(gDirectory->urls.back(), u"sit://directory");
}

TEST_F(GroupMembershipResolverTest, GroupsResolveOneByOneWithTheLimitPerGroup) {
  auto resolver = Make(2, 2);
  gDirectory->answers.assign({kStarted, Page({"a", "b"}, true), kStarted, Page({"c"}, true)});
  const ResolvedMembers members = resolver->ResolveGroups({u"g1", u"g2"});
  EXPECT_EQ(Sorted(members.names), (std::vector<std::u16string>{u"a", u"b", u"c"}));
  EXPECT_TRUE(members.exceeded);
  EXPECT_EQ(gDirectory->requests.size(), 4u);
  EXPECT_EQ(gDirectory->answers.size(), 0u);
}

TEST_F(GroupMembershipResolverTest, ConstructionAndSessionFailures) {
  // No SleepTryGetData.
  EXPECT_EQ(StatusOf([&] {
              (void)CGroupMembershipResolver(
                  Parse(R"(<_ SitServiceUrl="u" CountTryGetData="i32:1")"
                        R"( RequestedAttribute='str[]:[]' RequestedMemberTypes='str[]:[]'/>)"),
                  std::nullopt, clock_);
            }),
            E_NOTFOUND);
  gDirectory->openStatus = static_cast<HRESULT>(0x800706BA);
  EXPECT_EQ(StatusOf([&] { Make(1); }), static_cast<HRESULT>(0x800706BA));
  gDirectory->openStatus = S_OK;

  auto resolver = Make(1);
  gDirectory->answers.assign({"<_/>"});
  EXPECT_EQ(StatusOf([&] { resolver->ResolveSingleGroup(u"g"); }), E_NOTFOUND);
  ScriptwrightSetNamedInstanceProvider(nullptr);
  EXPECT_EQ(StatusOf([&] { Make(1); }), E_NOTFOUND);
}

TEST(PollClockTest, SleepsUntilTheMomentInSlicesOfASecond) {
  struct Case {
    PollClock::Duration wait;
    std::vector<PollClock::Duration> slices;
  } cases[] = {
      {0s, {}}, {-1s, {}}, {500ms, {500ms}}, {1s, {1s}}, {2500ms, {1s, 1s, 500ms}},
  };
  for (const auto& c : cases) {
    FakeClock clock;
    clock.SleepAbsolute(c.wait);
    EXPECT_EQ(clock.sleeps, c.slices);
  }
}

}  // namespace
}  // namespace QueriesProcessing
