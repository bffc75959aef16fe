#include <gtest/gtest.h>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"
#include "RiskWorld.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RiskWorld;

// In byte order of the binary GUID: P2 (first byte 0x00), P1 (0x02), P3
// (0x03); in text order P2 would come last.
constexpr char kP1[] = "{00000002-0000-0000-0000-0000000000A1}";
constexpr char kP2[] = "{01000000-0000-0000-0000-0000000000A2}";
constexpr char kP3[] = "{00000003-0000-0000-0000-0000000000A3}";
constexpr char kText[] = "EXEC %PROC% %ARGS%;";
constexpr char kAuditor[] = R"(<Token _name="auditor"/>)";

// The procedure usp_Risk(DBName, MonitoringPlan) for the risk "Stale", plus
// `arguments` (text form) and `more` children of the processor node.
std::string Config(const std::string& arguments = "", const std::string& more = "",
                   const std::string& excluded = "guid[]:[]") {
  return std::string(R"(<_ required_permission="ViewRisks" alias_variables="%ARGS%")"
                     R"( alias_risk_assessment_name="%PROC%" top_variable="%TOP%")"
                     R"( MonitoringPlansCfgPath="\Tallyvane\MonitoringPlans")"
                     R"( excluded_moids=")") +
         excluded + R"(">
    <BaseRiskAssessmentProcedure _value="usp_Risk">
      <_ _value="MonitoringPlan" order="i32:2"/><_ _value="DBName" order="i32:1"/>)" +
         arguments + R"(</BaseRiskAssessmentProcedure>
    <_ _name="RiskAssessmentProcedureMapping"><_ _name="usp_Risk"><RiskAssessment _value="Stale"/></_></_>
    <_ _name="RiskConfiguration">
      <RiskEntry RiskName="Stale" DataSources="guid[]:[)" +
         RiskWorld::kSourceType + R"(]" UseItemDisplayName="bool:false"/>
    </_>)" +
         more + "</_>";
}

std::string Request(const std::string& attributes = "", const std::string& children = "") {
  return R"(<Query><_ _name="RiskAssessment" RiskAssessmentName="Stale" )" + attributes + ">" +
         children + "</_></Query>";
}

// The call for one plan of the default procedure.
std::string Call(const std::string& db, const std::string& plan) {
  return "EXEC usp_Risk N'" + db + "','" + plan + "';";
}

std::string Failure(HRESULT status) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<uint32_t>(status));
  return std::string("error ") + code + ": " + kText;
}

class RiskProcessorTest : public ::testing::Test {
 protected:
  void AddThreePlans() {
    world.AddPlan({kP1, "db1"});
    world.AddPlan({kP2, "db2"});
    world.AddPlan({kP3, "db3"});
  }

  RiskWorld world;
};

// Each answer of the permission checker, with and without the request's own
// list of plans. The plans come out in byte order.
TEST_F(RiskProcessorTest, FilterChainByPermission) {
  AddThreePlans();
  const std::string all = Call("db2", kP2) + Call("db1", kP1) + Call("db3", kP3);
  const std::string scope =
      std::string(R"(<Scope><_ Container="guid:)") + kP3 +
      R"("/><_/><_ Container=""/><_ Container="00000002-0000-0000-0000-0000000000a1"/></Scope>)";
  const struct {
    std::string name;
    bool token;
    AccessCheckResult result;
    std::string scope;
    std::string plans;  // MonitoringPlans of the request
    std::string expected;
  } cases[] = {
      {"full", true, kAccessFull, "", "", all},
      {"limited", true, kAccessLimited, scope, "", Call("db1", kP1) + Call("db3", kP3)},
      {"limited, no Container", true, kAccessLimited, "<Scope><_/><_ Other=\"x\"/></Scope>", "",
       ""},
      {"limited, no scope", true, kAccessLimited, "", "", ""},
      {"another answer", true, static_cast<AccessCheckResult>(7), "", "", ""},
      {"full, asked plans", true, kAccessFull, "",
       std::string("guid[]:[") + kP3 + ",{00000009-0000-0000-0000-000000000000}," + kP1 + "]",
       Call("db1", kP1) + Call("db3", kP3)},
      {"limited, asked plans outside the scope", true, kAccessLimited, scope,
       std::string("str[]:[&quot;") + kP2 + "&quot;]", ""},
      {"in-process, asked plans", false, kAccessMissing, "", std::string("guid[]:[") + kP2 + "]",
       Call("db2", kP2)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    world.ActAs(c.token ? kAuditor : "");
    world.checker->result = c.result;
    world.checker->scope = Parse(c.scope);
    world.checker->permissions.clear();
    const std::string plans = c.plans.empty() ? "" : "MonitoringPlans=\"" + c.plans + "\"";
    EXPECT_EQ(world.Run(Config(), Request(plans), kText), c.expected);
    EXPECT_EQ(world.checker->permissions.size(), c.token ? 1u : 0u);
    if (c.token) {
      EXPECT_EQ(world.checker->permissions[0], u"ViewRisks");
    }
  }
  world.ActAs(kAuditor);
  world.checker->status = E_FAIL;
  EXPECT_EQ(world.Run(Config(), Request(), kText), Failure(E_FAIL));
}

TEST_F(RiskProcessorTest, PlansPassedOver) {
  const char kReportingOff[] = "{00000004-0000-0000-0000-000000000000}";
  const char kExcluded[] = "{00000005-0000-0000-0000-000000000000}";
  const char kOffline[] = "{00000006-0000-0000-0000-000000000000}";
  const char kOfflineMandatory[] = "{00000007-0000-0000-0000-000000000000}";
  const char kNoSource[] = "{00000008-0000-0000-0000-000000000000}";
  const char kNoItems[] = "{00000009-0000-0000-0000-000000000000}";
  const char kUnknown[] = "{0000000A-0000-0000-0000-000000000000}";
  const char kFailing[] = "{0000000B-0000-0000-0000-000000000000}";
  const char kNeverEnabled[] = "{0000000C-0000-0000-0000-000000000000}";
  world.AddPlan({kP1, "db1"});  // db1 is not known to the gate: mandatory
  world.AddPlan({kReportingOff, "db4", false});
  world.AddPlan({kExcluded, "db5"});
  world.AddPlan({kOffline, "db6"});
  world.AddPlan({kOfflineMandatory, "db7"});
  world.AddPlan({kNoSource, "db8", true, false});
  world.AddPlan({kNoItems, "db9", true, true, R"(<_ ResultCode="i32:0"/>)"});
  world.AddPlan({kUnknown, "db10"});
  world.AddPlan({kFailing, "db11"});
  world.AddPlan({kNeverEnabled, "db12"});
  world.dataSources->nodes.erase(FormatGuid(MakeGuid(ToUtf16(kUnknown))));
  world.dataSources->failures[FormatGuid(MakeGuid(ToUtf16(kFailing)))] = E_FAIL;
  world.dataSources->nodes[FormatGuid(MakeGuid(ToUtf16(kNeverEnabled)))] = Parse(R"(<_ db="db12" Enabled="bool:false"/>)");
  world.SetHealth("db6", false, false);
  world.SetHealth("db7", false, true);

  EXPECT_EQ(world.Run(Config("", "", std::string("guid[]:[") + kExcluded + "]"), Request(), kText),
            Call("db1", kP1) + Call("db7", kOfflineMandatory));
  // Only plans that passed the filters and the health asked for items, and
  // only those with an enabled data source the risk applies to.
  std::vector<std::u16string> asked;
  for (const VXNodePtr& request : world.services->itemRequests) {
    asked.push_back(FormatGuid(request.GetGuid(u"ContainerId")));
    EXPECT_EQ(request.GetType(), u"RetrieveContainerItemsRequest");
    EXPECT_EQ(request.GetAttributeType(u"DataSourceIds"), VXN_GUID_LIST);
    EXPECT_EQ(request.GetStringList(u"DataSourceIds", true),
              std::vector<std::u16string>{ToUtf16(RiskWorld::kSourceType)});
    EXPECT_FALSE(request.GetBool(u"UseFullName"));
  }
  EXPECT_EQ(asked, (std::vector<std::u16string>{ToUtf16(kP1), ToUtf16(kOfflineMandatory),
                                                ToUtf16(kNoItems)}));
}

// What each argument gets: the copy's attribute with its type (type 0 is
// NULL, not the default), the default, or NULL; Top becomes the token;
// Items are the plan's items that the request names.
TEST_F(RiskProcessorTest, ArgumentsOfEachPlan) {
  world.AddPlan({kP1, "db'1"});
  const std::string arguments = R"(<_ _value="Items" order="i32:3"/>
      <_ _value="Top" order="i32:4" plain_text="bool:true"/>
      <_ _value="Since" order="i32:5" default_value="2020-01-01"/>
      <_ _value="Until" order="i32:6" default_value="i32:5"/>
      <_ _value="Limit" order="i32:7" default_value="i32:5"/>
      <_ _value="Nothing" order="i32:8"/>)";
  const std::string plan = std::string("'") + kP1 + "'";
  const struct {
    std::string query;
    std::string expected;
  } cases[] = {
      {R"(<Query Top="u32:10"><_ _name="RiskAssessment" RiskAssessmentName="Stale" Until="null:" Limit="i64:7"/></Query>)",
       "EXEC usp_Risk N'db''1'," + plan + ",N'N''a'',N''b''',%TOP%,N'2020-01-01',NULL,7,NULL;"},
      {Request(R"(Top="x")"),
       "EXEC usp_Risk N'db''1'," + plan + ",N'N''a'',N''b''',x,N'2020-01-01',5,5,NULL;"},
      {Request(
           "",
           R"(<_ _name="Items"><Item ItemValue="b"/><Item ItemValue="z"/><Other ItemValue="a"/></_>)"),
       "EXEC usp_Risk N'db''1'," + plan + ",N'N''b''',NULL,N'2020-01-01',5,5,NULL;"},
      {Request("", R"(<_ _name="Items"><Item ItemValue="z"/></_>)"), ""},
      {Request("", R"(<_ _name="Items"><Item/></_>)"), Failure(E_NOTFOUND)},
  };
  for (const auto& [query, expected] : cases) {
    SCOPED_TRACE(query);
    EXPECT_EQ(world.Run(Config(arguments), query, kText), expected);
  }
}

// The other refusals are pinned by the golden cases.
TEST_F(RiskProcessorTest, ConfigurationsThatDoNotLoad) {
  AddThreePlans();
  EXPECT_EQ(world.Run(R"(<_ required_permission="x"/>)", Request(), kText),
            "load error 0x80070490");
  EXPECT_EQ(world.Run(Config("", "", "str[]:[&quot;1&quot;]"), Request(), kText),
            "load error 0x80070057");
}

// The regulator's failures end the request: a failing ResultCode with its
// text, a call that fails, an answer without ResultCode.
TEST_F(RiskProcessorTest, ItemsServiceFailures) {
  world.AddPlan({kP1, "db1", true, true,
                 R"(<_ ResultCode="i32:-2147024891" ErrorSerialized="no right on the plan"/>)"});
  EXPECT_EQ(world.Run(Config(), Request(), kText), Failure(HresultFromWin32(5)));
  const auto info = GetErrorInfo();
  ASSERT_TRUE(info);
  EXPECT_NE(ToUtf8(info->description).find(": no right on the plan"), std::string::npos);

  world.services->items.begin()->second = Parse("<_/>");
  EXPECT_EQ(world.Run(Config(), Request(), kText), Failure(E_NOTFOUND));
  world.services->itemsStatus = E_TIMEOUT;
  EXPECT_EQ(world.Run(Config(), Request(), kText), Failure(E_TIMEOUT));
}

}  // namespace
}  // namespace QueriesProcessing
