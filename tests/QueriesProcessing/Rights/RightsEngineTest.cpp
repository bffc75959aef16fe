#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"
#include "RightsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;

// One command that runs the field modificator ahead of the conditions, then
// both caller processors, as a template of the catalogue lists them.
constexpr char kCatalog[] = R"x(<catalog complex_condition_names='str[]:[]'>
    <_ _name="%FIELD_MODIFICATOR_PROCESSOR%"/>
    <_ _name="%CONDITION%" ExcludeColumnBracket='str[]:[]'/>
    <_ _name="%ACCESS_FILTER%" variable="%ACCESS_FILTER%" mo_field="ObjectId" required_permission="ViewAudit"
       mo_permission_param="Id"/>
    <_ _name="%IMPERSONATION%" variable="%WHO%"/>
    <query_template _name="search">
      <sql_command _name="main" command="SELECT %WHO% AS [Asker], * FROM [dbo].[Activity] AS r
WHERE %CONDITION% AND (%ACCESS_FILTER%)"
        variables='str[]:["%FIELD_MODIFICATOR_PROCESSOR%","%CONDITION%","%ACCESS_FILTER%","%IMPERSONATION%"]'/>
    </query_template>
  </catalog>)x";

constexpr char kRequest[] = R"x(<Query Query_Template_Name="search">
    <ConditionsRoot _name="Conditions">
      <Condition operator="AND">
        <ConditionValues Columnn="Who" AliasTable="r" Modificator="UPPER" Value="ANN"/>
        <ConditionValues Columnn="Where" Value="Host1"/>
        <Condition operator="IN"><List Columnn="What" Modificator="UPPER" Values='str[]:["ADDED","REMOVED"]'/></Condition>
      </Condition>
    </ConditionsRoot>
  </Query>)x";

class RightsEngineTest : public Testing::RightsTest {
 protected:
  void SetUp() override {
    RightsTest::SetUp();
    ASSERT_EQ(engine_.Initialize(Parse(kCatalog)), S_OK);
  }

  // The first command's SQL, or the failure with the text a host reads.
  std::string Prepare(VXNodePtr& request) {
    const HRESULT status = engine_.Prepare(request);
    if (Failed(status)) {
      const auto info = GetErrorInfo();
      return ToUtf8(FormatString(u"error 0x%08X ", static_cast<uint32_t>(status)) +
                    (info ? info->description : u"(no error information)"));
    }
    const VXNodePtr command = request.GetChild(u"Command");
    return command ? ToUtf8(command.GetString(u"SQL_Command")) : "no command";
  }

  CScriptwrightImpl engine_;
};

TEST_F(RightsEngineTest, TheModifiedColumnsReachTheConditionsInOneCommand) {
  const std::string conditions =
      "WHERE  ( (UPPER([r].[Who]) = N'ANN')  AND  ([Where] = N'Host1')  AND  (UPPER([What]) IN "
      "(N'ADDED',N'REMOVED')) ) ";
  const struct {
    const char* what;
    const char* token;
    AccessCheckResult result;
    std::string expected;
  } cases[] = {
      {"in process", "", kAccessMissing,
       "\n/***\nmain\n***/\nSELECT N'' AS [Asker], * FROM [dbo].[Activity] AS r\n" + conditions +
           " AND (1=1)"},
      {"limited caller", R"(<Token SubjectDisplayName="Ann Lee"/>)", kAccessLimited,
       "\n/***\nmain\n***/\nSELECT N'Ann Lee' AS [Asker], * FROM [dbo].[Activity] AS r\n" +
           conditions + " AND ([ObjectId] IN (N'0dd265d7-9c92-4fc0-9cbe-32d691746561'))"},
      {"caller without the right", R"(<Token SubjectDisplayName="Bob"/>)", kAccessMissing,
       "error 0x80070005 Access is denied"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ActAs(c.token);
    checker->result = c.result;
    checker->scope =
        Parse(R"(<Scope><O Id="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}"/></Scope>)");
    VXNodePtr request = Parse(kRequest);
    EXPECT_EQ(Prepare(request), c.expected);
  }
}

TEST_F(RightsEngineTest, AnUnknownModificatorStopsTheRequest) {
  VXNodePtr request = Parse(R"(<Query Query_Template_Name="search">
      <ConditionsRoot _name="Conditions"><ConditionValues Columnn="Who" Modificator="Upper" Value="x"/></ConditionsRoot>
    </Query>)");
  EXPECT_EQ(Prepare(request), "error 0x8007000D The data is invalid: unknown Modificator 'Upper'");
  EXPECT_FALSE(request.GetChild(u"Command"));
}

}  // namespace
}  // namespace QueriesProcessing
