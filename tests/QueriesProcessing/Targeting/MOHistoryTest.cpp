#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "Common/Text.h"
#include "DbNameWorld.h"
#include "QueriesProcessing/Scriptwright/Targeting/MOHistory.h"

namespace QueriesProcessing {
namespace {

using Testing::Node;
using Ids = std::set<std::u16string>;

constexpr char16_t kInvestigations[] = u"{46353FF1-F051-4D62-A6DC-2F79BB71C5FD}";
constexpr char16_t kFirst[] = u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}";
constexpr char16_t kSecond[] = u"{BBBBBBBB-0000-0000-0000-00000000000B}";

// Two containers under two collectors (C1, C2); the first ever enabled, in
// lower case and with a child of another name; the second never enabled.
// IntegrationAPI and SelfAudit were enabled once, Alerts never.
std::string History(bool investigations) {
  return R"x(<_ _name="ReportingSettingsHistory"><_ _name="Containers">
        <_ _value="0dd265d7-9c92-4fc0-9cbe-32d691746561" WasEverEnabled="bool:true">
          <_ _name="AuditedSystems">
            <_ _name="AuditedSystemNodeType" _value="{C1C1C1C1-0000-0000-0000-000000000001}"/>
            <_ _name="Note" _value="not a GUID and passed over"/>
            <_ _name="AuditedSystemNodeType" _value="C2C2C2C2000000000000000000000002"/>
          </_>
        </_>
        <_ _value="{BBBBBBBB-0000-0000-0000-00000000000B}">
          <_ _name="AuditedSystems">
            <_ _name="AuditedSystemNodeType" _value="c1c1c1c1-0000-0000-0000-000000000001"/>
          </_>
        </_>
      </_>
      <_ _name="IntegrationAPI" WasEverEnabled="bool:true"/>
      <_ _name="Alerts" WasEverEnabled="bool:false"/>
      <_ _name="SelfAudit" WasEverEnabled="bool:true"/>
      <_ _name="Investigations" WasEverEnabled="bool:)x" +
         std::string(investigations ? "true" : "false") + "\"/></_>";
}

class MOHistoryTest : public ::testing::Test {
 protected:
  void Serve(const std::string& history) {
    world_->server->byPath = {{u"\\Tallyvane\\ReportingSettingsHistory", Node(history)}};
  }

  static HRESULT Status(const std::function<void()>& body) {
    try {
      body();
      return S_OK;
    } catch (const HRX& failure) {
      return failure.code();
    }
  }

  std::optional<Testing::DbNameWorld> world_{std::in_place};
};

TEST_F(MOHistoryTest, FilesManagedObjectsByCollector) {
  struct Case {
    const char* what;
    const char16_t* collector;
    Ids expected;
  };
  const Case cases[] = {
      {"two containers, one never enabled; any GUID form",
       u"c1c1c1c1-0000-0000-0000-000000000001",
       {kFirst, kSecond}},
      {"a lower-case container is written upper case in braces",
       u"{C2C2C2C2-0000-0000-0000-000000000002}",
       {kFirst}},
      {"IntegrationAPI ever enabled",
       u"3a3ff789-b927-40c9-b5d2-3b3a08b6c289",
       {u"{17D9ED53-091A-4A87-835F-5A486882436F}"}},
      {"SelfAudit ever enabled",
       u"51ADD98072BD4887A964D019AE877462",
       {u"{FB549CD3-760F-4689-94D6-A05EB8097543}"}},
      {"Alerts never enabled: no entry", u"73f27cf7-87c8-4ae0-8193-53cad68a60aa", {}},
      {"an unknown collector", u"{00000000-0000-0000-0000-0000000000FF}", {}},
  };
  // Investigations, once enabled, joins every collector.
  for (const bool investigations : {false, true}) {
    Serve(History(investigations));
    world_->server->calls.clear();
    CMOHistory history;
    history.Initialize();
    EXPECT_EQ(world_->server->calls, std::vector<std::string>{"FindNodes(1)"});
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.what) + (investigations ? ", Investigations" : ""));
      Ids expected = c.expected;
      if (investigations) expected.insert(kInvestigations);
      Ids ids = {u"left over from before"};
      EXPECT_EQ(history.GetMObyCollector(c.collector, ids), expected.size());
      EXPECT_EQ(ids, expected);
    }
    // Containers count in any GUID form; built-ins and Investigations never.
    for (const char16_t* id : {kFirst, u"0dd265d7-9c92-4fc0-9cbe-32d691746561",
                               u"0DD265D79C924FC09CBE32D691746561"}) {
      EXPECT_TRUE(history.WasEverEnabled(id)) << ToUtf8(id);
    }
    for (const char16_t* id : {kSecond, u"{FB549CD3-760F-4689-94D6-A05EB8097543}", kInvestigations,
                               u"{00000000-0000-0000-0000-0000000000FF}"}) {
      EXPECT_FALSE(history.WasEverEnabled(id)) << ToUtf8(id);
    }
  }
}

TEST_F(MOHistoryTest, Failures) {
  const HRESULT broken = static_cast<HRESULT>(0x800706BA);
  struct Case {
    const char* what;
    const char* history;  // null: the server has no history node
    HRESULT findStatus;
    HRESULT expected;
  };
  const Case cases[] = {
      {"no history node", nullptr, S_OK, E_NOTFOUND},
      {"no Containers", R"(<_ _name="ReportingSettingsHistory"><_ _name="Alerts"/></_>)", S_OK,
       E_NOTFOUND},
      {"a container without AuditedSystems",
       R"(<_><_ _name="Containers"><_ _value="{BBBBBBBB-0000-0000-0000-00000000000B}"/></_></_>)",
       S_OK, E_NOTFOUND},
      {"a container that is no GUID",
       R"(<_><_ _name="Containers"><_ _value="nope"><_ _name="AuditedSystems"/></_></_></_>)", S_OK,
       E_INVALIDARG},
      {"a container without value",
       R"(<_><_ _name="Containers"><_><_ _name="AuditedSystems"/></_></_></_>)", S_OK,
       E_INVALIDARG},
      {"a collector that is no GUID",
       R"(<_><_ _name="Containers"><_ _value="{BBBBBBBB-0000-0000-0000-00000000000B}"><_ _name="AuditedSystems">
            <_ _name="AuditedSystemNodeType" _value="{C1C1C1C1-0000}"/></_></_></_></_>)",
       S_OK, E_INVALIDARG},
      {"the server fails", "<_/>", broken, broken},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    world_->server->byPath.clear();
    if (c.history) Serve(c.history);
    world_->server->findStatus = c.findStatus;
    CMOHistory history;
    EXPECT_EQ(Status([&] { history.Initialize(); }), c.expected);
  }

  world_->server->findStatus = S_OK;
  Serve(History(false));
  CMOHistory history;
  history.Initialize();
  Ids ids;
  EXPECT_EQ(Status([&] { history.GetMObyCollector(u"not a GUID", ids); }), E_INVALIDARG);
  EXPECT_EQ(Status([&] { history.WasEverEnabled(u"{0DD265D7-9C92}"); }), E_INVALIDARG);

  world_.reset();  // no "ConfigServer.Proxy"
  CMOHistory orphan;
  EXPECT_EQ(Status([&] { orphan.Initialize(); }), E_NOTFOUND);
}

}  // namespace
}  // namespace QueriesProcessing
