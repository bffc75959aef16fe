#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Rights/AccessFilterProcessor.h"
#include "RightsTestSupport.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::RunProcessor;

constexpr char kText[] = "WHERE (%ACCESS_FILTER%) AND (%ACCESS_FILTER%) -- %AF%";
constexpr char kAuditor[] = R"(<Token _name="auditor" SubjectDisplayName="Auditor"/>)";
constexpr char kTwoObjects[] = R"(<Scope>
    <Object ObjectId="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}" Other="guid:{00000000-0000-0000-0000-0000000000AB}"/>
    <Object ObjectId="guid:{50A80F11-A323-4F79-884F-DAD619B23109}" Other="guid:{00000000-0000-0000-0000-0000000000CD}"/>
  </Scope>)";

std::string Config(const std::string& extra = "") {
  return R"(<_ variable="%ACCESS_FILTER%" mo_field="MO]Id" required_permission="ViewAudit" )"
         R"(mo_permission_param="ObjectId" )" +
         extra + "/>";
}

// The whole text with both filters replaced by `predicate`.
std::string Filtered(const std::string& predicate) {
  return "WHERE (" + predicate + ") AND (" + predicate + ") -- %AF%";
}

class AccessFilterTest : public Testing::RightsTest {
 protected:
  std::string Run(const std::string& config, const std::string& perUse = "") {
    return RunProcessor<CAccessFilterProcessor>(config, Parse("<Query/>"), ToUtf16(kText), perUse);
  }
};

// Every answer of the checker in every GUID form, the form set by the
// configuration or by the per-use node over a different configured one.
TEST_F(AccessFilterTest, ResultsByFormatsByOverrides) {
  const struct {
    int format;
    std::string list;  // the scope's two objects, or the failure
  } formats[] = {
      {0, "N'{0DD265D7-9C92-4FC0-9CBE-32D691746561}',N'{50A80F11-A323-4F79-884F-DAD619B23109}'"},
      {1, "N'0DD265D79C924FC09CBE32D691746561',N'50A80F11A3234F79884FDAD619B23109'"},
      {2, "N'0DD265D7-9C92-4FC0-9CBE-32D691746561',N'50A80F11-A323-4F79-884F-DAD619B23109'"},
      {3, "N'0dd265d7-9c92-4fc0-9cbe-32d691746561',N'50a80f11-a323-4f79-884f-dad619b23109'"},
      {4, ""},
      {-1, ""},
  };
  const std::string untouched = kText;
  for (const auto& [format, list] : formats) {
    const std::string restricted =
        list.empty() ? "error 0x80004005: " + untouched : Filtered("[MO]]Id] IN (" + list + ")");
    const struct {
      AccessCheckResult result;
      std::string expected;
    } results[] = {
        {kAccessMissing, "error 0x80070005: " + untouched},
        {kAccessLimited, restricted},
        {kAccessFull, Filtered("1=1")},
        {static_cast<AccessCheckResult>(7), untouched},
    };
    const std::string value = "i32:" + std::to_string(format);
    for (const auto& [result, expected] : results) {
      for (const bool perUse : {false, true}) {
        SCOPED_TRACE("format " + value + " result " + std::to_string(result) +
                     (perUse ? " per use" : " configured"));
        ActAs(kAuditor);
        checker->result = result;
        checker->scope = Parse(kTwoObjects);
        checker->permissions.clear();
        const std::string got =
            perUse ? Run(Config(R"(mo_guid_format="i32:1")"),
                         R"(<variable_processor mo_guid_format=")" + value + R"("/>)")
                   : Run(Config(R"(mo_guid_format=")" + value + R"(")"));
        EXPECT_EQ(got, expected);
        EXPECT_EQ(checker->permissions, std::vector<std::u16string>{u"ViewAudit"});
        EXPECT_EQ(checker->tokens.back().get(), contexts->current.get());
      }
    }
  }
}

TEST_F(AccessFilterTest, EdgeCases) {
  const struct {
    const char* what;
    const char* token;  // the caller's, "" for a call from inside the process
    AccessCheckResult result;
    const char* scope;
    std::string config;
    const char* perUse;
    std::string expected;
  } cases[] = {
      {"no token: always true, with a format that would fail", "", kAccessMissing, "",
       Config(R"(mo_guid_format="i32:9")"), "", Filtered("1=1")},
      {"no scope children: an empty list, kept so", kAuditor, kAccessLimited, "<Scope/>", Config(),
       "", Filtered("[MO]]Id] IN ()")},
      {"no scope node at all", kAuditor, kAccessLimited, "", Config(), "",
       Filtered("[MO]]Id] IN ()")},
      {"a child without the GUID attribute among others", kAuditor, kAccessLimited,
       R"(<Scope><O ObjectId="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}"/><O/>
          <O ObjectId="guid:{50A80F11-A323-4F79-884F-DAD619B23109}"/></Scope>)",
       Config(), "", Filtered("1=1")},
      {"a first child without GUID is reached before the bad format", kAuditor, kAccessLimited,
       R"(<Scope><O/><O ObjectId="guid:{50A80F11-A323-4F79-884F-DAD619B23109}"/></Scope>)",
       Config(R"(mo_guid_format="i32:9")"), "", Filtered("1=1")},
      {"an empty scope never writes a GUID, so a bad format passes", kAuditor, kAccessLimited,
       "<Scope/>", Config(R"(mo_guid_format="i32:9")"), "", Filtered("[MO]]Id] IN ()")},
      {"a GUID held as text is read as a GUID", kAuditor, kAccessLimited,
       R"(<Scope><O ObjectId="0dd265d7-9c92-4fc0-9cbe-32d691746561"/></Scope>)",
       Config(R"(mo_guid_format="i32:0")"), "",
       Filtered("[MO]]Id] IN (N'{0DD265D7-9C92-4FC0-9CBE-32D691746561}')")},
      {"per use: mo_permission_param", kAuditor, kAccessLimited, kTwoObjects, Config(),
       R"(<_ mo_permission_param="Other" mo_guid_format="i32:1"/>)",
       Filtered("[MO]]Id] IN "
                "(N'000000000000000000000000000000AB',N'000000000000000000000000000000CD')")},
      {"per use items of type 0 keep the configured ones", kAuditor, kAccessLimited, kTwoObjects,
       Config(),
       R"(<_ variable="null:" mo_field="null:" mo_permission_param="null:" mo_guid_format="null:"/>)",
       Filtered(
           "[MO]]Id] IN "
           "(N'0dd265d7-9c92-4fc0-9cbe-32d691746561',N'50a80f11-a323-4f79-884f-dad619b23109')")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ActAs(c.token);
    checker->result = c.result;
    checker->scope = Parse(c.scope);
    checker->tokens.clear();
    checkerLookups = 0;
    EXPECT_EQ(Run(c.config, c.perUse), c.expected);
    const size_t calls = *c.token ? 1 : 0;
    EXPECT_EQ(checker->tokens.size(), calls);
    EXPECT_EQ(checkerLookups, static_cast<int>(calls));
  }
}

TEST_F(AccessFilterTest, WithoutTokenTheCheckerIsNeitherLookedUpNorCalled) {
  for (const bool hasManager : {true, false}) {
    SCOPED_TRACE(hasManager ? "context without token" : "no context manager");
    hasContexts = hasManager;
    ActAs("");
    EXPECT_EQ(Run(Config()), Filtered("1=1"));
    EXPECT_EQ(checkerLookups, 0);
    EXPECT_TRUE(checker->tokens.empty());
  }
}

TEST_F(AccessFilterTest, PermissionByConfigurationOrPerUse) {
  ActAs(kAuditor);
  EXPECT_EQ(Run(Config()), Filtered("1=1"));
  EXPECT_EQ(Run(Config(), R"(<_ required_permission="ViewAlerts"/>)"), Filtered("1=1"));
  EXPECT_EQ(checker->permissions, (std::vector<std::u16string>{u"ViewAudit", u"ViewAlerts"}));
}

TEST_F(AccessFilterTest, AnOverrideHoldsForItsCallOnly) {
  CAccessFilterProcessor processor;
  ASSERT_EQ(processor.Initialize(Parse(Config())), S_OK);
  ActAs(kAuditor);
  checker->result = kAccessLimited;
  checker->scope =
      Parse(R"(<Scope><O ObjectId="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}"/></Scope>)");
  VXNodePtr request = Parse("<Query/>");
  const VXNodePtr perUse = Parse(R"(<_ mo_field="Other" mo_guid_format="i32:1" variable="%AF%"/>)");
  std::u16string first = u"%AF% %ACCESS_FILTER%";
  std::u16string second = first;
  ASSERT_EQ(processor.ProcessNode(request, perUse, first), S_OK);
  ASSERT_EQ(processor.ProcessNode(request, VXNodePtr(), second), S_OK);
  EXPECT_EQ(ToUtf8(first), "[Other] IN (N'0DD265D79C924FC09CBE32D691746561') %ACCESS_FILTER%");
  EXPECT_EQ(ToUtf8(second), "%AF% [MO]]Id] IN (N'0dd265d7-9c92-4fc0-9cbe-32d691746561')");
}

TEST_F(AccessFilterTest, FailuresOfTheServicesPassThrough) {
  ActAs(kAuditor);
  checker->status = static_cast<HRESULT>(0x80070057);
  EXPECT_EQ(Run(Config()), std::string("error 0x80070057: ") + kText);

  contexts->getStatus = static_cast<HRESULT>(0x8007139F);
  EXPECT_EQ(Run(Config()), std::string("error 0x8007139F: ") + kText);
  EXPECT_EQ(checker->tokens.size(), 1u);
}

TEST_F(AccessFilterTest, EveryConfiguredItemButTheFormatIsRequired) {
  for (const char* missing :
       {"variable", "mo_field", "required_permission", "mo_permission_param"}) {
    SCOPED_TRACE(missing);
    VXNodePtr config = Parse(Config());
    config.DeleteAttribute(ToUtf16(missing));
    CAccessFilterProcessor processor;
    EXPECT_EQ(processor.Initialize(config), static_cast<HRESULT>(0x80070490));
  }
}

// Two registrations, two configurations; a token without its catalogue child
// has no processor.
TEST_F(AccessFilterTest, TheTwoTokensKeepTheirOwnConfiguration) {
  auto& manager = CProcessorsManager::Instance();
  VXNodePtr catalog = Parse(R"(<catalog>
      <_ _name="%ACCESS_FILTER%" variable="%F%" mo_field="Id" required_permission="ViewAudit"
         mo_permission_param="ObjectId"/>
      <_ _name="%ALERT_ACCESS_FILTER%" variable="%F%" mo_field="AlertId" required_permission="ViewAlerts"
         mo_permission_param="ObjectId" mo_guid_format="i32:2"/>
    </catalog>)");
  manager.Initialize(catalog);
  ActAs(kAuditor);
  checker->result = kAccessLimited;
  checker->scope =
      Parse(R"(<Scope><O ObjectId="guid:{0DD265D7-9C92-4FC0-9CBE-32D691746561}"/></Scope>)");
  VXNodePtr request = Parse("<Query/>");
  std::u16string audit = u"%F%";
  std::u16string alerts = u"%F%";
  manager.ProcessVariable(request, VXNodePtr(), u"%ACCESS_FILTER%", audit);
  manager.ProcessVariable(request, VXNodePtr(), u"%ALERT_ACCESS_FILTER%", alerts);
  EXPECT_EQ(ToUtf8(audit), "[Id] IN (N'0dd265d7-9c92-4fc0-9cbe-32d691746561')");
  EXPECT_EQ(ToUtf8(alerts), "[AlertId] IN (N'0DD265D7-9C92-4FC0-9CBE-32D691746561')");
  EXPECT_EQ(checker->permissions, (std::vector<std::u16string>{u"ViewAudit", u"ViewAlerts"}));

  catalog.RemoveChild(catalog.GetChild(u"%ALERT_ACCESS_FILTER%"));
  manager.Initialize(catalog);
  EXPECT_TRUE(manager.Find(u"%ACCESS_FILTER%"));
  EXPECT_FALSE(manager.Find(u"%ALERT_ACCESS_FILTER%"));
  manager.Initialize(Parse("<catalog/>"));
}

}  // namespace
}  // namespace QueriesProcessing
