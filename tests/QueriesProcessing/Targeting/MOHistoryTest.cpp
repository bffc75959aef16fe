#include <gtest/gtest.h>

#include <functional>
#include <mutex>

#include "Common/Components/NamedInstances.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "FakeConfigServer.h"
#include "QueriesProcessing/Scriptwright/Targeting/MOHistory.h"

namespace QueriesProcessing {
namespace {

using Testing::FakeConfigServer;
using Ids = std::set<std::u16string>;

constexpr char16_t kHistoryPath[] = u"\\Tallyvane\\ReportingSettingsHistory";
constexpr char16_t kInvestigations[] = u"{46353FF1-F051-4D62-A6DC-2F79BB71C5FD}";

FakeConfigServer* gServer = nullptr;

HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  if (std::u16string_view(name) != u"ConfigServer.Proxy" || !gServer) return E_NOTFOUND;
  return static_cast<IConfigNodes*>(gServer)->QueryInterface(*iid, out);
}

// Keeps the lines of the log, for the traces.
class Capture : public Logger {
 public:
  void Write(const char16_t* text, size_t length) override {
    std::lock_guard guard(lock_);
    text_.append(text, length);
  }
  bool Has(std::u16string_view part) {
    std::lock_guard guard(lock_);
    return text_.find(part) != std::u16string::npos;
  }

 private:
  std::mutex lock_;
  std::u16string text_;
};

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

// Two containers under two collectors (C1, C2); the first ever enabled, in
// lower case and with a child of another name; the second never enabled.
// IntegrationAPI and SelfAudit were enabled once, Alerts never.
std::string History(const std::string& builtIns) {
  return R"x(<_ _name="ReportingSettingsHistory">
      <_ _name="Containers">
        <_ _name="first" _value="0dd265d7-9c92-4fc0-9cbe-32d691746561" WasEverEnabled="bool:true">
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
      </_>)x" +
         builtIns + "</_>";
}

constexpr char kBuiltIns[] = R"x(<_ _name="IntegrationAPI" WasEverEnabled="bool:true"/>
    <_ _name="Alerts" WasEverEnabled="bool:false"/>
    <_ _name="SelfAudit" WasEverEnabled="bool:true"/>)x";

class MOHistoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gServer = FakeConfigServer::Make();
    ScriptwrightSetNamedInstanceProvider(&Provide);
  }
  void TearDown() override {
    ScriptwrightSetNamedInstanceProvider(nullptr);
    if (gServer) static_cast<IConfigNodes*>(gServer)->Release();
    gServer = nullptr;
  }

  void Serve(const std::string& history) { gServer->byPath = {{kHistoryPath, Node(history)}}; }

  static HRESULT Status(const std::function<void()>& body) {
    try {
      body();
      return S_OK;
    } catch (const HRX& failure) {
      return failure.code();
    }
  }
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
       {u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}", u"{BBBBBBBB-0000-0000-0000-00000000000B}"}},
      {"a lower-case container is written upper case in braces",
       u"{C2C2C2C2-0000-0000-0000-000000000002}",
       {u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}"}},
      {"IntegrationAPI ever enabled",
       u"3a3ff789-b927-40c9-b5d2-3b3a08b6c289",
       {u"{17D9ED53-091A-4A87-835F-5A486882436F}"}},
      {"SelfAudit ever enabled",
       u"51ADD98072BD4887A964D019AE877462",
       {u"{FB549CD3-760F-4689-94D6-A05EB8097543}"}},
      {"Alerts never enabled: no entry", u"73f27cf7-87c8-4ae0-8193-53cad68a60aa", {}},
      {"an unknown collector", u"{00000000-0000-0000-0000-0000000000FF}", {}},
  };
  Serve(History(kBuiltIns));
  CMOHistory history;
  history.Initialize();
  EXPECT_EQ(gServer->calls, std::vector<std::string>{"FindNodes(1)"});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Ids ids = {u"left over from before"};
    EXPECT_EQ(history.GetMObyCollector(c.collector, ids), c.expected.size());
    EXPECT_EQ(ids, c.expected);
  }
}

TEST_F(MOHistoryTest, TracesWhatItReads) {
  static Capture capture;
  static const bool added = AddLogger(&capture);
  ASSERT_TRUE(added);
  SetMaxSeverity(Severity::DBG);
  Serve(History(kBuiltIns));
  CMOHistory history;
  history.Initialize();
  Ids ids;
  history.GetMObyCollector(u"c1c1c1c1-0000-0000-0000-000000000001", ids);
  SetMaxSeverity(Severity::ERR);
  for (const std::u16string_view line : {
           u"History:VXNode[0x",
           u"Found:0dd265d7-9c92-4fc0-9cbe-32d691746561",
           u"{0DD265D7-9C92-4FC0-9CBE-32D691746561} enabled",
           u"{BBBBBBBB-0000-0000-0000-00000000000B} disabled",
           u"Found:C2C2C2C2000000000000000000000002",
           u"Found:not a GUID and passed over",
           u"Found history for c1c1c1c1-0000-0000-0000-000000000001",
       }) {
    EXPECT_TRUE(capture.Has(line)) << ToUtf8(line);
  }
}

TEST_F(MOHistoryTest, InvestigationsJoinEveryCollector) {
  Serve(History(R"(<_ _name="Investigations" WasEverEnabled="bool:true"/>)"));
  CMOHistory history;
  history.Initialize();
  Ids ids;
  EXPECT_EQ(history.GetMObyCollector(u"{00000000-0000-0000-0000-0000000000FF}", ids), 1u);
  EXPECT_EQ(ids, Ids{kInvestigations});
  EXPECT_EQ(history.GetMObyCollector(u"{C2C2C2C2-0000-0000-0000-000000000002}", ids), 2u);
  EXPECT_EQ(ids, (Ids{u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}", kInvestigations}));
  EXPECT_EQ(history.GetMObyCollector(u"3a3ff789-b927-40c9-b5d2-3b3a08b6c289", ids),
            1u);  // IntegrationAPI absent

  Serve(History(R"(<_ _name="Investigations" WasEverEnabled="bool:false"/>)"));
  CMOHistory never;
  never.Initialize();
  EXPECT_EQ(never.GetMObyCollector(u"{00000000-0000-0000-0000-0000000000FF}", ids), 0u);
}

TEST_F(MOHistoryTest, EverEnabled) {
  struct Case {
    const char16_t* id;
    bool expected;
  };
  const Case cases[] = {
      {u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}", true},
      {u"0dd265d7-9c92-4fc0-9cbe-32d691746561", true},
      {u"0DD265D79C924FC09CBE32D691746561", true},
      {u"{BBBBBBBB-0000-0000-0000-00000000000B}", false},  // never enabled
      {u"{FB549CD3-760F-4689-94D6-A05EB8097543}",
       false},  // SelfAudit's object: built-ins never enter
      {u"{17D9ED53-091A-4A87-835F-5A486882436F}", false},  // IntegrationAPI's object
      {u"{46353FF1-F051-4D62-A6DC-2F79BB71C5FD}", false},  // Investigations' object
      {u"{00000000-0000-0000-0000-0000000000FF}", false},  // unknown
  };
  Serve(History(std::string(kBuiltIns) +
                R"(<_ _name="Investigations" WasEverEnabled="bool:true"/>)"));
  CMOHistory history;
  history.Initialize();
  for (const auto& c : cases) EXPECT_EQ(history.WasEverEnabled(c.id), c.expected) << ToUtf8(c.id);
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
    gServer->byPath.clear();
    if (c.history) Serve(c.history);
    gServer->findStatus = c.findStatus;
    CMOHistory history;
    EXPECT_EQ(Status([&] { history.Initialize(); }), c.expected);
  }

  gServer->findStatus = S_OK;
  Serve(History(kBuiltIns));
  CMOHistory history;
  history.Initialize();
  Ids ids;
  EXPECT_EQ(Status([&] { history.GetMObyCollector(u"not a GUID", ids); }), E_INVALIDARG);
  EXPECT_EQ(Status([&] { history.WasEverEnabled(u"{0DD265D7-9C92}"); }), E_INVALIDARG);

  static_cast<IConfigNodes*>(gServer)->Release();
  gServer = nullptr;  // no "ConfigServer.Proxy"
  CMOHistory orphan;
  EXPECT_EQ(Status([&] { orphan.Initialize(); }), E_NOTFOUND);
}

}  // namespace
}  // namespace QueriesProcessing
