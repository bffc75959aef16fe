// The environment file's stand-ins: data sources, permissions, service
// replies, configuration depth and the caller's token.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Common/Nodes/NodeTextReader.h"
#include "Host/EnvironmentValues.h"
#include "Host/HostComponents.h"
#include "Host/HostDataSources.h"
#include "Host/HostEnvironment.h"
#include "Host/HostPermissions.h"
#include "Host/PrepareJob.h"
#include "Host/ServiceReplies.h"

namespace {

VXNodePtr Node(const std::string& text) { return ReadNodeText("<nr>" + text + "</nr>", "test")[0]; }

constexpr char16_t kFiles[] = u"{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}";
constexpr char16_t kFilesLower[] = u"6f1c2d3e-0a1b-4c2d-8e3f-405162738495";
constexpr char16_t kFilesDigits[] = u"6F1C2D3E0A1B4C2D8E3F405162738495";

TEST(EnvironmentValuesTest, ComparesIdsAsGuidsAndElseExactly) {
  struct Case {
    const char16_t* a;
    const char16_t* b;
    bool same;
  };
  const Case cases[] = {
      {kFiles, kFilesLower, true},
      {kFilesDigits, kFiles, true},
      {u"6F1C2D3E-0A1B-4C2D-8E3F-405162738495", kFilesLower, true},
      {kFiles, u"{6F1C2D3E-0A1B-4C2D-8E3F-405162738496}", false},
      {u"legacy", u"legacy", true},
      {u"legacy", u"LEGACY", false},
      {kFiles, u"legacy", false},
      {u"", u"", true},
      {u"5", u"05", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.a) + " / " + ToUtf8(c.b));
    EXPECT_EQ(SameValue(c.a, c.b), c.same);
    EXPECT_EQ(SameValue(c.b, c.a), c.same);
  }
}

TEST(EnvironmentValuesTest, GivesAnyAttributeAsText) {
  const VXNodePtr node = Node(
      R"x(<_ S="text" N="i32:-5" U="u64:7" B="bool:true" G="guid:{6f1c2d3e-0a1b-4c2d-8e3f-405162738495}"
             L='i32[]:[1,2]' E='str[]:[]' Z="null:"/>)x");
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"S", u"text"}, {u"N", u"-5"},  {u"U", u"7"}, {u"B", u"true"},
      {u"G", kFiles},  {u"L", u"1,2"}, {u"E", u""},  {u"Z", u""},
  };
  for (const auto& [name, text] : cases) {
    SCOPED_TRACE(ToUtf8(name));
    ASSERT_TRUE(AttributeText(node, name));
    EXPECT_EQ(*AttributeText(node, name), text);
  }
  EXPECT_FALSE(AttributeText(node, u"Missing"));
  EXPECT_FALSE(AttributeText(VXNodePtr(), u"S"));
}

const char kDataSources[] = R"x(<DataSources>
    <DataSource _value="{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}" db="Audit_Files" DatabaseSchema="i32:3" Enabled="bool:true">
      <_ db="Audit_Files_2019" DatabaseSchema="i32:3"/>
    </DataSource>
    <DataSource _value="77ab0c1d-2e3f-4a5b-8c6d-7e8f9a0b1c2d" db="Audit_Mail" DatabaseSchema="i32:3" Enabled="bool:false"/>
    <DataSource _value="{11111111-2222-3333-4444-555555555555}" db="Locked" Status="u32:2147942405"/>
    <DataSource _value="legacy-source" db="Legacy"/>
    <Other _value="{22222222-2222-3333-4444-555555555555}" db="NotADataSource"/>
    <DataSource _value="6F1C2D3E0A1B4C2D8E3F405162738495" db="Shadowed"/>
  </DataSources>)x";

TEST(HostDataSourcesTest, AnswersACopyByGuidInAnyFormAndOtherIdsExactly) {
  const HostDataSources sources(Node(kDataSources));
  struct Case {
    const char16_t* id;
    HRESULT status;
    const char16_t* db;  // null: no node
  };
  const Case cases[] = {
      {kFiles, S_OK, u"Audit_Files"},
      {kFilesLower, S_OK, u"Audit_Files"},  // the first of two entries of one GUID
      {kFilesDigits, S_OK, u"Audit_Files"},
      {u"{77AB0C1D-2E3F-4A5B-8C6D-7E8F9A0B1C2D}", S_OK, u"Audit_Mail"},
      {u"77AB0C1D2E3F4A5B8C6D7E8F9A0B1C2D", S_OK, u"Audit_Mail"},
      {u"{11111111-2222-3333-4444-555555555555}", static_cast<HRESULT>(0x80070005), nullptr},
      {u"legacy-source", S_OK, u"Legacy"},
      {u"LEGACY-SOURCE", S_OK, nullptr},
      {u"{99999999-2222-3333-4444-555555555555}", S_OK, nullptr},
      {u"{22222222-2222-3333-4444-555555555555}", S_OK, nullptr},  // not of type DataSource
      {u"", S_OK, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.id));
    VXNodePtr node = Node("<Stale/>");
    EXPECT_EQ(sources.GetDataSource(c.id, &node, 1), c.status);
    ASSERT_EQ(static_cast<bool>(node), c.db != nullptr);
    if (c.db) {
      EXPECT_EQ(node.GetString(u"db"), c.db);
    }
  }

  VXNodePtr node;
  ASSERT_EQ(sources.GetDataSource(kFiles, &node, 1), S_OK);
  EXPECT_FALSE(node.Parent());
  EXPECT_EQ(node.GetValue(), kFiles);
  EXPECT_EQ(node.GetInt32(u"DatabaseSchema"), 3);
  EXPECT_TRUE(node.GetBool(u"Enabled"));
  ASSERT_EQ(node.ChildCount(), 1u);
  EXPECT_EQ(node.ChildAt(0).GetString(u"db"), u"Audit_Files_2019");
  node.SetString(u"db", u"Changed");  // a copy: the next answer is as before
  ASSERT_EQ(sources.GetDataSource(kFiles, &node, 1), S_OK);
  EXPECT_EQ(node.GetString(u"db"), u"Audit_Files");

  EXPECT_EQ(sources.GetDataSource(kFiles, nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(HostDataSources(VXNodePtr()).GetDataSource(kFiles, &node, 1), S_OK);
  EXPECT_FALSE(node);
  EXPECT_THROW(
      HostDataSources(Node(R"x(<DataSources><DataSource Status="denied"/></DataSources>)x")), HRX);
}

const char kPermissions[] = R"x(<Permissions>
    <Permission Token="auditor" Name="ViewAuditData" Result="i32:1">
      <_ MoId="guid:{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}"/>
      <_ MoId="guid:{77AB0C1D-2E3F-4A5B-8C6D-7E8F9A0B1C2D}"><Below/></_>
    </Permission>
    <Permission Token="auditor" Name="ViewAuditData" Result="i32:2"/>
    <Permission Token="admin" Name="ViewAuditData" Result="i32:2"/>
    <Permission Token="auditor" Name="ViewAlerts" Result="i32:1"/>
    <Permission Token="guest" Name="ViewAuditData" Status="u32:2147942405"/>
    <Grant Token="nobody" Name="ViewAuditData" Result="i32:2"/>
  </Permissions>)x";

TEST(HostPermissionsTest, TheFirstMatchAnswersNoneGivesZeroAndStatusFails) {
  const HostPermissions permissions(Node(kPermissions));
  struct Case {
    const char* token;  // the token node's name; null: no token
    const char16_t* permission;
    HRESULT status;
    int32_t result;
    int scopeChildren;  // -1: no scope node
  };
  const Case cases[] = {
      {"auditor", u"ViewAuditData", S_OK, 1, 2},
      {"admin", u"ViewAuditData", S_OK, 2, 0},
      {"auditor", u"ViewAlerts", S_OK, 1, 0},  // a scope without children
      {"guest", u"ViewAuditData", static_cast<HRESULT>(0x80070005), 0, -1},
      {"auditor", u"viewauditdata", S_OK, 0, -1},
      {"Auditor", u"ViewAuditData", S_OK, 0, -1},
      {"nobody", u"ViewAuditData", S_OK, 0, -1},  // not of type Permission
      {nullptr, u"ViewAuditData", S_OK, 0, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.token ? c.token : "(none)") + " " + ToUtf8(c.permission));
    const VXNodePtr token =
        c.token ? Node("<Token _name=\"" + std::string(c.token) + "\" SubjectDisplayName=\"x\"/>")
                : VXNodePtr();
    int32_t result = 7;
    VXNodePtr scope = Node("<Stale/>");
    EXPECT_EQ(permissions.CheckAccess(token, c.permission, &result, &scope), c.status);
    EXPECT_EQ(result, c.result);
    ASSERT_EQ(static_cast<bool>(scope), c.scopeChildren >= 0);
    if (scope) {
      EXPECT_EQ(scope.ChildCount(), static_cast<uint32_t>(c.scopeChildren));
    }
  }

  int32_t result = 0;
  VXNodePtr scope;
  ASSERT_EQ(permissions.CheckAccess(Node(R"x(<Token _name="auditor"/>)x"), u"ViewAuditData",
                                    &result, &scope),
            S_OK);
  EXPECT_EQ(scope.ChildAt(1).GetGuid(u"MoId"),
            *ParseGuid(u"{77AB0C1D-2E3F-4A5B-8C6D-7E8F9A0B1C2D}"));
  EXPECT_EQ(scope.ChildAt(1).ChildCount(), 1u);  // the children come with their subtrees
  EXPECT_EQ(permissions.CheckAccess(VXNodePtr(), u"x", nullptr, &scope), E_INVALIDARG);
  EXPECT_EQ(permissions.CheckAccess(VXNodePtr(), u"x", &result, nullptr), E_INVALIDARG);
}

TEST(HostPermissionsTest, RefusesAPermissionThatDoesNotSayWhoWhatOrWhich) {
  const char* entries[] = {
      R"x(<Permission Name="ViewAuditData" Result="i32:2"/>)x",
      R"x(<Permission Token="auditor" Result="i32:2"/>)x",
      R"x(<Permission Token="auditor" Name="ViewAuditData"/>)x",
  };
  for (const char* entry : entries) {
    SCOPED_TRACE(entry);
    try {
      HostPermissions(Node(std::string("<Permissions>") + entry + "</Permissions>"));
      ADD_FAILURE() << "read";
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), E_NOTFOUND);
    }
  }
  EXPECT_NO_THROW(HostPermissions(
      Node(R"x(<Permissions><Permission Token="a" Name="b" Status="u32:5"/></Permissions>)x")));
}

const char kService[] = R"x(<Service Url="net.tcp://localhost/gate">
    <Reply Request="DatabaseHealthRequest"><_ _name="H1"/></Reply>
    <Reply Request="DatabaseHealthRequest"><_ _name="H2"/></Reply>
    <Reply Request="DatabaseHealthRequest"><_ _name="H3"><_ _name="Deep"/></_></Reply>
    <Reply Request="Typed"><_ _name="T"/></Reply>
    <Reply Request="Lookup"><When Id="{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}" Count="i32:2"/><_ _name="L1"/></Reply>
    <Reply Request="Lookup"><When Id="legacy"/><_ _name="L2"/></Reply>
    <Reply Request="Failing" Status="u32:2147942402"><_ _name="Unused"/></Reply>
    <Reply Request="Failing"><When/><_ _name="F2"/><_ _name="NotTheAnswer"/></Reply>
    <Reply Request="Silent"/>
    <NotAReply Request="Other"><_ _name="X"/></NotAReply>
  </Service>)x";

TEST(ServiceRepliesTest, MatchesByTypeOrNameAndWhenAndAnswersInTurn) {
  ServiceReplies service(Node(kService));
  EXPECT_EQ(service.Url(), u"net.tcp://localhost/gate");
  struct Call {
    const char* request;
    HRESULT status;
    const char16_t* answer;  // the answer's name; null: no answer
  };
  const Call calls[] = {
      {R"x(<_ _name="DatabaseHealthRequest"/>)x", S_OK, u"H1"},
      {R"x(<_ _name="DatabaseHealthRequest"/>)x", S_OK, u"H2"},
      {R"x(<_ _name="DatabaseHealthRequest" Extra="1"/>)x", S_OK, u"H3"},
      {R"x(<_ _name="DatabaseHealthRequest"/>)x", S_OK, u"H3"},              // the last one repeats
      {R"x(<Other _name="DatabaseHealthRequest"/>)x", E_NOTFOUND, nullptr},  // the type counts
      {R"x(<Typed _name="Whatever"/>)x", S_OK, u"T"},
      {"<Typed/>", S_OK, u"T"},
      {R"x(<Lookup Id="6f1c2d3e-0a1b-4c2d-8e3f-405162738495" Count="2"/>)x", S_OK, u"L1"},
      {R"x(<Lookup Id="guid:{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}" Count="u32:2" More="x"/>)x",
       S_OK, u"L1"},
      {R"x(<Lookup Id="6F1C2D3E0A1B4C2D8E3F405162738495"/>)x", E_NOTFOUND, nullptr},
      {R"x(<Lookup Id="{6F1C2D3E-0A1B-4C2D-8E3F-405162738495}" Count="i32:3"/>)x", E_NOTFOUND,
       nullptr},
      {R"x(<Lookup Id="LEGACY"/>)x", E_NOTFOUND, nullptr},
      {R"x(<Lookup Id="legacy"/>)x", S_OK, u"L2"},
      {"<Failing/>", static_cast<HRESULT>(0x80070002), nullptr},
      {"<Failing/>", S_OK, u"F2"},  // an empty When holds for every request
      {"<Failing/>", S_OK, u"F2"},
      {"<Silent/>", S_OK, nullptr},
      {"<Other/>", E_NOTFOUND, nullptr},
  };
  for (const Call& call : calls) {
    SCOPED_TRACE(call.request);
    VXNodePtr response = Node("<Stale/>");
    EXPECT_EQ(service.Call(Node(call.request), &response), call.status);
    ASSERT_EQ(static_cast<bool>(response), call.answer != nullptr);
    if (call.answer) {
      EXPECT_EQ(response.GetName(), call.answer);
    }
  }
  VXNodePtr response;
  ASSERT_EQ(service.Call(Node(R"x(<_ _name="DatabaseHealthRequest"/>)x"), &response), S_OK);
  ASSERT_EQ(response.ChildCount(), 1u);  // a copy of the whole answer
  EXPECT_FALSE(response.Parent());
  EXPECT_EQ(service.Call(VXNodePtr(), &response), E_INVALIDARG);
  EXPECT_EQ(service.Call(Node("<Typed/>"), nullptr), E_INVALIDARG);
  EXPECT_THROW(ServiceReplies(Node("<Service/>")), HRX);
}

// A lookup that polls until the answer changes would poll a repeating reply
// forever: the service stops answering after its calls of a run.
TEST(ServiceRepliesTest, AnswersABoundedNumberOfCalls) {
  ServiceReplies service(Node(R"x(<Service Url="x"><Reply Request="SitDataRequest">
      <_ ResultCode="i32:2"/></Reply></Service>)x"));
  const VXNodePtr poll = Node("<SitDataRequest/>");
  VXNodePtr response;
  for (uint32_t i = 0; i < ServiceReplies::kMostCalls; ++i) {
    ASSERT_EQ(service.Call(poll, &response), S_OK) << i;
  }
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(service.Call(poll, &response), static_cast<HRESULT>(0x80004004));
    EXPECT_FALSE(response);
  }
}

// Calls from several threads at once: each reply answers once, in turn,
// before the last one repeats.
TEST(ServiceRepliesThreadsTest, EachReplyAnswersOnceBeforeTheLastRepeats) {
  constexpr int kReplies = 10;
  constexpr int kThreads = 4;
  constexpr int kCallsEach = 25;
  std::string text = "<Service Url=\"x\">";
  for (int i = 0; i < kReplies; ++i) {
    text += "<Reply Request=\"R\"><_ N=\"i32:" + std::to_string(i) + "\"/></Reply>";
  }
  ServiceReplies service(Node(text + "</Service>"));
  std::vector<std::vector<int>> answers(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kCallsEach; ++i) {
        VXNodePtr response;
        if (service.Call(VXNodePtr::Create(u"R"), &response) == S_OK) {
          answers[t].push_back(response.GetInt32(u"N"));
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  std::vector<int> times(kReplies, 0);
  for (const auto& some : answers) {
    for (int n : some) ++times[n];
  }
  for (int i = 0; i + 1 < kReplies; ++i) EXPECT_EQ(times[i], 1) << i;
  EXPECT_EQ(times[kReplies - 1], kThreads * kCallsEach - (kReplies - 1));
}

TEST(HostConfigProxyTest, ANegativeMaxDepthBringsTheWholeSubtree) {
  auto* proxy = MakeHostComponent<CHostConfigProxy>();
  proxy->SetTree(Node(R"x(<Config>
      <_ _name="Tallyvane"><_ _name="ReportingSettingsHistory">
        <_ _name="Containers"><_ _name="c1"><_ _name="AuditedSystems"><_ _name="s"/></_></_></_>
      </_></_>
    </Config>)x"));
  struct Case {
    int64_t depth;
    bool isParent;
    uint32_t levels;  // levels below the node (or below each child) that came along
  };
  const Case cases[] = {
      {-1, false, 4}, {-100, false, 4}, {-1, true, 3}, {0, false, 0},
      {1, false, 1},  {1, true, 0},     {2, true, 1},  {0x7FFFFFFF, false, 4},
  };
  auto levels = [](VXNodePtr node) {
    uint32_t count = 0;
    for (; node.ChildCount() > 0; node = node.ChildAt(0)) ++count;
    return count;
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.depth) + (c.isParent ? " parent" : ""));
    VXNodePtr filter = VXNodePtr::Create(u"", u"FilterByPath");
    filter.SetString(u"NodePath", u"\\Tallyvane\\ReportingSettingsHistory");
    filter.SetBool(u"IsParent", c.isParent);
    filter.SetInt32(u"MaxDepth", static_cast<int32_t>(c.depth));
    VXNodePtr found[2];
    uint32_t returned = 0;
    ASSERT_EQ(static_cast<IConfigNodes*>(proxy)->FindNodes(filter, nullptr, found, 2, &returned),
              S_OK);
    ASSERT_EQ(returned, 1u);
    EXPECT_EQ(levels(found[0]), c.levels);
  }
  static_cast<IConfigNodes*>(proxy)->Release();
}

TEST(HostEnvironmentTest, TheCallerIsACopyOfTheTokenWithAllItsAttributes) {
  const VXNodePtr environment = Node(R"x(<environment>
      <Tokens>
        <_ _name="auditor" Kind="not a token"/>
        <Token _name="auditor" SubjectDisplayName="Audit Reader" Sid="S-1-5-21-1"><Group _name="g"/></Token>
        <Token _name="admin"/>
      </Tokens>
    </environment>)x");
  const HostEnvironment served(environment, u"auditor");
  const VXNodePtr& caller = served.Caller();
  ASSERT_TRUE(caller);
  EXPECT_EQ(caller.GetType(), u"Token");
  EXPECT_EQ(caller.GetString(u"SubjectDisplayName"), u"Audit Reader");
  EXPECT_EQ(caller.GetString(u"Sid"), u"S-1-5-21-1");
  EXPECT_EQ(caller.ChildCount(), 1u);
  EXPECT_FALSE(caller.Parent());

  EXPECT_FALSE(HostEnvironment(environment, u"").Caller());
  EXPECT_FALSE(HostEnvironment(VXNodePtr(), u"").Caller());
  EXPECT_THROW(HostEnvironment(environment, u"Auditor"), HRX);  // names compare exactly
}

// A prepare run stops at an environment that does not read, naming its file,
// before the library is loaded.
TEST(HostEnvironmentTest, AnEnvironmentThatDoesNotReadStopsThePrepareJob) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("scriptwright-env-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const std::string catalog = (dir / "catalog.xml").string();
  const std::string request = (dir / "request.xml").string();
  const std::string env = (dir / "env.xml").string();
  std::ofstream(catalog) << "<nr><catalog/></nr>";
  std::ofstream(request) << "<nr><Query/></nr>";
  struct Case {
    const char* environment;
    const char* as;
    const char* status;
  };
  const Case cases[] = {
      {R"x(<environment><Tokens><Token _name="a"/></Tokens></environment>)x", "b", "0x80070057"},
      {R"x(<environment><Permissions><Permission Name="n" Result="i32:1"/></Permissions></environment>)x",
       "", "0x80070490"},
      {R"x(<environment><DataSources><DataSource Status="x"/></DataSources></environment>)x", "",
       "0x8007000D"},
      {R"x(<environment><Services><Service><Reply/></Service></Services></environment>)x", "",
       "0x80070490"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.environment);
    std::ofstream(env) << "<nr>" << c.environment << "</nr>";
    PrepareOptions options{catalog, {request}, false, env, c.as};
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunPrepareJob(options, out, err), 1);
    EXPECT_EQ(err.str().rfind(env + ": " + c.status, 0), 0u) << err.str();
    EXPECT_EQ(out.str(), "");
  }
  fs::remove_all(dir);
}

}  // namespace
