#include <gtest/gtest.h>

#include <vector>

#include "Common/Components/ComponentObject.h"
#include "Common/Components/NamedInstances.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "Common/SubsystemHelpers/DBHealth.h"
#include "Common/Text.h"
#include "FakeDatabaseGate.h"

namespace {

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

using Testing::FakeContexts;
using Testing::FakeGate;

FakeContexts* gContexts = nullptr;
FakeGate* gGate = nullptr;

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  const std::u16string_view wanted(name);
  if (wanted == u"Core.RequestContextMgr" && gContexts) {
    return static_cast<IRequestContextMgr*>(gContexts)->QueryInterface(*iid, out);
  }
  if (wanted == u"Core.ServiceClient" && gGate)
    return static_cast<IServiceClient*>(gGate)->QueryInterface(*iid, out);
  return E_NOTFOUND;
}

class DBHealthTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gContexts = Testing::MakeFake<FakeContexts, IRequestContextMgr>();
    gGate = FakeGate::Make();
    gGate->contexts = gContexts;
    gContexts->current = caller_;
    ScriptwrightSetNamedInstanceProvider(&Provide);
  }
  void TearDown() override {
    ScriptwrightSetNamedInstanceProvider(nullptr);
    static_cast<IRequestContextMgr*>(gContexts)->Release();
    static_cast<IServiceClient*>(gGate)->Release();
    gContexts = nullptr;
    gGate = nullptr;
  }

  // The status LoadHealthInfo raises, or S_OK.
  static HRESULT Load(CDBHealth& health) {
    try {
      health.LoadHealthInfo();
      return S_OK;
    } catch (const HRX& failure) {
      return failure.code();
    }
  }

  const VXNodePtr caller_ = Node(R"(<Token _name="auditor"/>)");
};

constexpr char kEntries[] = R"x(<_>
    <_ _name="DatabaseHealthResponse">
      <_ _name="DatabaseHealthEntry" DbName="Audit" Available="bool:true" Mandatory="bool:false"/>
      <_ _name="Other" DbName="Ignored" Available="bool:true" Mandatory="bool:true"/>
      <_ _name="DatabaseHealthEntry" DbName="Offline" Available="bool:false" Mandatory="bool:true"/>
      <_ _name="DatabaseHealthEntry" DbName="Audit" Available="bool:false" Mandatory="bool:true"/>
    </_>
  </_>)x";

TEST_F(DBHealthTest, LooksUpWhatTheGateReports) {
  struct Lookup {
    const char16_t* name;
    bool known;
    bool available;
    bool mandatory;
  };
  struct Case {
    const char* what;
    const char* response;
    std::vector<Lookup> lookups;
  };
  const Case cases[] = {
      {"entries; the first of a name counts; other children are ignored",
       kEntries,
       {{u"Audit", true, true, false},
        {u"Offline", true, false, true},
        {u"AUDIT", false, false, false},
        {u"Ignored", false, false, false},
        {u"", false, false, false}}},
      {"a response with no entries",
       R"(<_><_ _name="DatabaseHealthResponse"/></_>)",
       {{u"Audit", false, false, false}}},
      {"a response without DatabaseHealthResponse",
       R"(<_><_ _name="Something"/></_>)",
       {{u"Audit", false, false, false}}},
      {"an empty response", "", {{u"Audit", false, false, false}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    gGate->response = *c.response ? Node(c.response) : VXNodePtr();
    CDBHealth health;
    ASSERT_EQ(Load(health), S_OK);
    for (const auto& lookup : c.lookups) {
      SCOPED_TRACE(ToUtf8(lookup.name));
      for (const bool before : {false, true}) {  // an unknown name leaves either value as it was
        bool available = before;
        bool mandatory = before;
        EXPECT_EQ(health.GetDBInfoByName(lookup.name, &available, &mandatory), lookup.known);
        EXPECT_EQ(available, lookup.known ? lookup.available : before);
        EXPECT_EQ(mandatory, lookup.known ? lookup.mandatory : before);
      }
    }
  }
}

TEST_F(DBHealthTest, NullPointersAreLeftOut) {
  gGate->response = Node(kEntries);
  CDBHealth health;
  health.LoadHealthInfo();
  bool mandatory = false;
  EXPECT_TRUE(health.GetDBInfoByName(u"Offline", nullptr, &mandatory));
  EXPECT_TRUE(mandatory);
  EXPECT_TRUE(health.GetDBInfoByName(u"Offline", nullptr, nullptr));
}

TEST_F(DBHealthTest, EntryWithoutAnAttributeFails) {
  for (const char* entry :
       {R"(Available="bool:true" Mandatory="bool:true")", R"(DbName="A" Mandatory="bool:true")",
        R"(DbName="A" Available="bool:true")"}) {
    SCOPED_TRACE(entry);
    gGate->response = Node(
        std::string(R"(<_><_ _name="DatabaseHealthResponse"><_ _name="DatabaseHealthEntry" )") +
        entry + "/></_></_>");
    CDBHealth health;
    EXPECT_EQ(Load(health), E_NOTFOUND);
  }
}

TEST_F(DBHealthTest, AsksTheGateOnceInAContextWithoutToken) {
  gGate->response = Node(kEntries);
  CDBHealth health;
  health.LoadHealthInfo();
  bool available = false;
  for (int i = 0; i < 3; ++i) health.GetDBInfoByName(u"Audit", &available, nullptr);

  ASSERT_EQ(gGate->urls, std::vector<std::u16string>{u"Service.DatabaseManagementGate"});
  EXPECT_EQ(gGate->openFlags, 0u);
  ASSERT_EQ(gGate->requests.size(), 1u);
  const VXNodePtr& request = gGate->requests[0];
  EXPECT_EQ(request.GetName(), u"DatabaseHealthRequest");
  EXPECT_TRUE(request.AttributeNames().empty());

  ASSERT_EQ(gContexts->exchanges.size(), 2u);
  const VXNodePtr& entered = gContexts->exchanges[0].context;
  EXPECT_EQ(gContexts->exchanges[0].kind, 1);
  ASSERT_TRUE(entered);
  EXPECT_NE(entered.get(), caller_.get());
  EXPECT_TRUE(entered.AttributeNames().empty());
  EXPECT_EQ(entered.ChildCount(), 0u);
  EXPECT_EQ(gGate->contextsAtCall[0].get(), entered.get());
  EXPECT_EQ(gContexts->exchanges[1].kind, 1);
  EXPECT_EQ(gContexts->current.get(), caller_.get());

  CDBHealth second;  // each object asks anew
  second.LoadHealthInfo();
  EXPECT_EQ(gGate->requests.size(), 2u);
}

TEST_F(DBHealthTest, FailuresAreRaisedAndTheContextIsRestored) {
  struct Case {
    const char* what;
    HRESULT openStatus;
    HRESULT callStatus;
    bool noClient;
    HRESULT expected;
  };
  const Case cases[] = {
      {"the call fails", S_OK, static_cast<HRESULT>(0x800706BA), false,
       static_cast<HRESULT>(0x800706BA)},
      {"the service cannot be opened", E_NOTFOUND, S_OK, false, E_NOTFOUND},
      {"no service client", S_OK, S_OK, true, E_NOTFOUND},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    gGate->openStatus = c.openStatus;
    gGate->callStatus = c.callStatus;
    gGate->response = Node(kEntries);
    FakeGate* gate = gGate;
    if (c.noClient) gGate = nullptr;
    gContexts->exchanges.clear();
    CDBHealth health;
    EXPECT_EQ(Load(health), c.expected);
    gGate = gate;
    EXPECT_FALSE(health.GetDBInfoByName(u"Audit", nullptr, nullptr));
    ASSERT_EQ(gContexts->exchanges.size(), 2u);
    EXPECT_EQ(gContexts->current.get(), caller_.get());
  }
}

TEST_F(DBHealthTest, WithoutContextManagerTheCallStillRuns) {
  FakeContexts* contexts = gContexts;
  gContexts = nullptr;
  gGate->contexts = nullptr;
  gGate->response = Node(kEntries);
  CDBHealth health;
  EXPECT_EQ(Load(health), S_OK);
  EXPECT_TRUE(health.GetDBInfoByName(u"Audit", nullptr, nullptr));
  gContexts = contexts;
  EXPECT_TRUE(gContexts->exchanges.empty());
}

}  // namespace
