#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "Common/Logger.h"
#include "Common/Text.h"
#include "DbNameWorld.h"
#include "QueriesProcessing/Common/MarkElementWriter.h"
#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"
#include "QueriesProcessing/Scriptwright/Targeting/DBNameProcessor.h"
#include "tests/Common/LogCapture.h"

namespace QueriesProcessing {
namespace {

using Testing::DbNameWorld;
using Testing::Node;
using Testing::ProcessorConfig;

// Data source types, one product each unless a case says otherwise.
constexpr char kT3[] = "{00000000-0000-0000-0000-000000000003}";
constexpr char kT7[] = "{00000000-0000-0000-0000-000000000007}";
constexpr char kT9[] = "{00000000-0000-0000-0000-000000000009}";

// Managed objects: the last digits tell them apart.
std::string Mo(int n) {
  return "{A0000000-0000-0000-0000-" + std::string(12 - std::to_string(n).size(), '0') +
         std::to_string(n) + "}";
}

// SHA-256 of the UTF-16LE bytes of a name, in Base64.
constexpr char16_t kHashA[] = u"5hwhynFrOxrvt9EZj4NnnEyk1ZbleSJ13WIDtJIWI30=";
constexpr char16_t kHashB[] = u"9sblfMPawdaiNJcBBW/1o+SBNO/kSWqMD1y5/J5t/BI=";

constexpr char16_t kTemplate[] =
    u"FROM [%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%] WHERE (%CONDITION_PRODUCT_ID%) /*%DB_HASH%*/";
constexpr char16_t kSeparator[] = u" UNION ALL ";
constexpr char kVariable[] = R"(<_ DbNameSeparator=" UNION ALL "/>)";

std::u16string Branch(std::u16string_view db, std::u16string_view view,
                      std::u16string_view products, std::u16string_view hash) {
  return u"FROM [" + std::u16string(db) + u"].[dbo].[" + std::u16string(view) + u"] WHERE (" +
         std::u16string(products) + u") /*" + std::u16string(hash) + u"*/";
}

// A data source node: `db`, DatabaseSchema, Enabled, and children.
std::string Ds(const std::string& db, int schema = 1, bool enabled = true,
               const std::string& children = "") {
  return "<_ db=\"" + db + "\" DatabaseSchema=\"i32:" + std::to_string(schema) +
         "\" Enabled=\"bool:" + (enabled ? "true" : "false") + "\">" + children + "</_>";
}

std::string Mapping(const std::string& entries) {
  return R"(<_ _name="DataSourceMapping">)" + entries + "</_>";
}

std::string MapType(const char* type, int product, const std::string& additional = "") {
  return "<DataSource _value=\"" + std::string(type) +
         "\" MandatoryProductId=\"i32:" + std::to_string(product) + "\"" +
         (additional.empty() ? "" : " AdditionalProductIds='i32[]:[" + additional + "]'") + "/>";
}

std::string Views(const char* type, const std::string& view, const std::string& additional = "",
                  int schema = 1) {
  return "<DataSource _value=\"" + std::string(type) + "\" ViewName=\"" + view +
         "\" db_schema=\"i32:" + std::to_string(schema) + "\">" + additional + "</DataSource>";
}

// The worked example: database A serves V for product 3; database B serves
// V for products 3 and 7 and W for product 9.
std::string ExampleConfig() {
  return ProcessorConfig(Mapping(MapType(kT3, 3) + MapType(kT7, 7) + MapType(kT9, 9)) +
                         Views(kT3, "V") + Views(kT7, "V") + Views(kT9, "W"));
}

void AddExampleSources(DbNameWorld& world) {
  world.AddSource(kT3, Mo(1), Ds("A"));
  world.AddSource(kT3, Mo(2), Ds("B"));
  world.AddSource(kT7, Mo(3), Ds("B"));
  world.AddSource(kT9, Mo(4), Ds("B"));
}

std::string Request(const std::string& attributes = "") {
  return R"(<Query Query_Template_Name="search" DBSchema="i32:1" )" + attributes + "/>";
}

struct Outcome {
  HRESULT status;
  std::u16string text;
};

// The branches of a fan-out in sorted order: the order of the pairs is a
// hash map's, so tests compare the multiset.
std::vector<std::u16string> Branches(std::u16string_view text,
                                     std::u16string_view separator = kSeparator) {
  std::vector<std::u16string> branches;
  if (text.empty()) return branches;
  for (size_t from = 0;;) {
    const size_t at = text.find(separator, from);
    branches.emplace_back(text.substr(from, at - from));
    if (at == std::u16string_view::npos) break;
    from = at + separator.size();
  }
  std::sort(branches.begin(), branches.end());
  return branches;
}

std::vector<std::u16string> Sorted(std::vector<std::u16string> branches) {
  std::sort(branches.begin(), branches.end());
  return branches;
}

class DBNameProcessorTest : public ::testing::Test {
 protected:
  Outcome Prepare(const std::string& request, const std::string& variable = kVariable,
                  std::u16string text = kTemplate) {
    VXNodePtr requestNode = Node(request);
    const VXNodePtr variableNode = variable.empty() ? VXNodePtr() : Node(variable);
    const HRESULT status = processor_.ProcessNode(requestNode, variableNode, text);
    return {status, text};
  }

  DbNameWorld world_;
  CDBNameProcessor processor_;
};

TEST_F(DBNameProcessorTest, WorkedExampleGivesOneBranchPerDatabaseAndView) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  const Outcome outcome = Prepare(Request());
  ASSERT_EQ(outcome.status, S_OK);
  EXPECT_EQ(Branches(outcome.text),
            Sorted({Branch(u"A", u"V", u"[ProductID] = 3", kHashA),
                    Branch(u"B", u"V", u"[ProductID] = 3 OR [ProductID] = 7", kHashB),
                    Branch(u"B", u"W", u"[ProductID] = 9", kHashB)}));
  EXPECT_EQ(world_.gate->requests.size(), 1u);
}

TEST_F(DBNameProcessorTest, ServesTheTokenInACatalogue) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);  // serves the history
  const std::string catalog =
      R"(<_ complex_condition_names='str[]:["Who"]'>)" + ExampleConfig() +
      R"(<_ _name="%TOP%" top="100" variable="%TOP%"/>)"
      R"(<query_template _name="search" db_schema="i32:1">)"
      R"(<sql_command _name="main" command="SELECT TOP %TOP% * FROM [%DB_NAME%].[%VIEW_NAME%]">)"
      R"(<_ _name="variable_processors">)"
      R"(<variable_processor processor_alias="%DB_NAME%" DbNameSeparator=";"/>)"
      R"(<variable_processor processor_alias="%TOP%"/></_></sql_command></query_template></_>)";
  CScriptwrightImpl engine;
  ASSERT_EQ(engine.Initialize(Node(catalog)), S_OK);
  VXNodePtr request = Node(R"(<Query Query_Template_Name="search"/>)");
  ASSERT_EQ(engine.Prepare(request), S_OK);
  const std::u16string banner = u"\n/***\nmain\n***/\nSELECT TOP 100 * FROM ";
  EXPECT_EQ(Branches(request.GetChild(u"Command", true).GetString(u"SQL_Command"), u";"),
            Sorted({banner + u"[A].[V]", banner + u"[B].[V]", banner + u"[B].[W]"}));
}

TEST_F(DBNameProcessorTest, RequestedAndSuppressedProducts) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  const std::u16string a3 = Branch(u"A", u"V", u"[ProductID] = 3", kHashA);
  const std::u16string b3 = Branch(u"B", u"V", u"[ProductID] = 3", kHashB);
  const std::u16string b37 = Branch(u"B", u"V", u"[ProductID] = 3 OR [ProductID] = 7", kHashB);
  const std::u16string b7 = Branch(u"B", u"V", u"[ProductID] = 7", kHashB);
  const std::u16string b9 = Branch(u"B", u"W", u"[ProductID] = 9", kHashB);
  struct Case {
    const char* attributes;
    std::vector<std::u16string> expected;
  };
  const Case cases[] = {
      {"", {a3, b37, b9}},
      {"Auditing_systems='i32[]:[]'", {a3, b37, b9}},
      {"Auditing_systems='i32[]:[9]'", {b9}},
      {"Auditing_systems='i32[]:[3]'", {a3, b3}},
      {"Auditing_systems='i32[]:[7]'", {b7}},
      {"Auditing_systems='i32[]:[7,3]'", {a3, b37}},
      {"Auditing_systems='str[]:[\"9\"]'", {b9}},
      {"Auditing_systems='i32[]:[42]'", {}},
      {"Suppressed_Auditing_systems='i32[]:[7]'", {a3, b3, b9}},
      {"Auditing_systems='i32[]:[3,9]' Suppressed_Auditing_systems='i32[]:[9]'", {a3, b3}},
      {"Auditing_systems='i32[]:[3]' Suppressed_Auditing_systems='i32[]:[3]'", {}},
      {"Suppressed_Auditing_systems='i32[]:[3,7,9]'", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.attributes);
    const Outcome outcome = Prepare(Request(c.attributes));
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
  }
}

TEST_F(DBNameProcessorTest, NoTargetLeavesAnEmptyText) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  for (
      const char* request :
      {R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)",
       R"(<Query Query_Template_Name="search" DBSchema="i32:1" Suppressed_Auditing_systems='i32[]:[3,7,9]'/>)",
       // The sorting processor would fail for lack of SortingRoot; with no
       // target it never runs.
       R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:2"/>)"}) {
    SCOPED_TRACE(request);
    const Outcome outcome = Prepare(request);
    EXPECT_EQ(outcome.status, S_OK);
    EXPECT_EQ(outcome.text, u"");
  }
}

TEST_F(DBNameProcessorTest, ExplicitAndAdditionalViews) {
  // Type 3 carries products 3 and 4. X is explicit only; Y carries the type's
  // products; Z carries product 5 alone, and is filed under product 3.
  world_.AddSource(kT3, Mo(1), Ds("A"));
  const std::string additional = R"(<AdditionalView ViewName="X" ExplicitOnly="bool:true"/>)"
                                 R"(<AdditionalView ViewName="Y"/>)"
                                 R"(<AdditionalView ViewName="Z" ExplicitProductId="i32:5"/>)"
                                 R"(<Other ViewName="Ignored"/>)";
  ASSERT_EQ(world_.Initialize(processor_, ProcessorConfig(Mapping(MapType(kT3, 3, "4")) +
                                                          Views(kT3, "V", additional))),
            S_OK);
  const std::u16string both = u"[ProductID] = 3 OR [ProductID] = 4";
  struct Case {
    const char* explicitView;
    std::string request;
    std::vector<std::u16string> expected;
  };
  const Case cases[] = {
      {nullptr,
       Request(),
       {Branch(u"A", u"V", both, kHashA), Branch(u"A", u"Y", both, kHashA),
        Branch(u"A", u"Z", u"[ProductID] = 5", kHashA)}},
      {"X", Request(), {Branch(u"A", u"X", both, kHashA)}},
      {"V", Request(), {Branch(u"A", u"V", both, kHashA)}},
      {"Z", Request(), {Branch(u"A", u"Z", u"[ProductID] = 5", kHashA)}},
      {"x", Request(), {}},  // view names are exact
      {"Nope", Request(), {}},
      {"X", R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)", {}},
      {nullptr, Request("Auditing_systems='i32[]:[5]'"), {}},  // Z is filed under 3
      {nullptr, Request("Auditing_systems='i32[]:[4]'"), {}},  // and so is everything
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.explicitView ? c.explicitView : "(none)") + " " + c.request);
    const std::string variable =
        c.explicitView ? std::string(R"(<_ DbNameSeparator=" UNION ALL " ExplicitView=")") +
                             c.explicitView + "\"/>"
                       : std::string(kVariable);
    const Outcome outcome = Prepare(c.request, variable);
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
  }
}

TEST_F(DBNameProcessorTest, DatabasesDifferingInCaseAreOneAndTheFirstNameIsWritten) {
  world_.AddSource(kT3, Mo(1), Ds("Audit"));
  world_.AddSource(kT7, Mo(2), Ds("AUDIT"));
  ASSERT_EQ(
      world_.Initialize(processor_, ProcessorConfig(Mapping(MapType(kT3, 3) + MapType(kT7, 7)) +
                                                    Views(kT3, "V") + Views(kT7, "V"))),
      S_OK);
  const std::u16string both = u"[ProductID] = 3 OR [ProductID] = 7";
  struct Case {
    const char* order;
    std::u16string expected;
  };
  const Case cases[] = {
      {"[3,7]", Branch(u"Audit", u"V", both, u"sQpA3K4YEn+tAdFRu3DxFE5rDZC5+faW6k/2V3tRvxc=")},
      {"[7,3]", Branch(u"AUDIT", u"V", both, u"tFidlu4msPmy5Na5eMVQ++vftpQa/qk9XKffoKLna+c=")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.order);
    const Outcome outcome =
        Prepare(Request(std::string("Auditing_systems='i32[]:") + c.order + "'"));
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(outcome.text, c.expected);
  }
}

TEST_F(DBNameProcessorTest, OncePerDatabase) {
  world_.AddSource(kT3, Mo(1), Ds("A"));
  world_.AddSource(kT3, Mo(2), Ds("B"));
  ASSERT_EQ(world_.Initialize(
                processor_, ProcessorConfig(Mapping(MapType(kT3, 3)) +
                                            Views(kT3, "V", R"(<AdditionalView ViewName="W"/>)"))),
            S_OK);
  const std::u16string template_ = u"%DB_NAME%.%VIEW_NAME%";
  const Outcome all = Prepare(Request(), R"(<_ DbNameSeparator=","/>)", template_);
  EXPECT_EQ(Branches(all.text, u","), Sorted({u"A.V", u"A.W", u"B.V", u"B.W"}));

  const Outcome once =
      Prepare(Request(), R"(<_ DbNameSeparator="," once_per_db="bool:true"/>)", template_);
  const std::vector<std::u16string> branches = Branches(once.text, u",");
  ASSERT_EQ(branches.size(), 2u);  // which view comes first is the hash map's choice
  EXPECT_TRUE(branches[0] == u"A.V" || branches[0] == u"A.W") << ToUtf8(once.text);
  EXPECT_TRUE(branches[1] == u"B.V" || branches[1] == u"B.W") << ToUtf8(once.text);
}

TEST_F(DBNameProcessorTest, WithoutPerUseNodeBranchesJoinWithNothing) {
  world_.AddSource(kT3, Mo(1), Ds("A"));
  ASSERT_EQ(world_.Initialize(processor_, ProcessorConfig(Mapping(MapType(kT3, 3)) +
                                                          Views(kT3, "V") + Views(kT3, "W"))),
            S_OK);
  const Outcome outcome = Prepare(Request(), "", u"<%VIEW_NAME%>");
  ASSERT_EQ(outcome.status, S_OK);
  EXPECT_TRUE(outcome.text == u"<V><W>" || outcome.text == u"<W><V>") << ToUtf8(outcome.text);
}

TEST_F(DBNameProcessorTest, NamesAreWrittenAsTheyStandAndScannedByLaterReplacements) {
  world_.AddSource(kT3, Mo(1), Ds("a]b"));
  world_.AddSource(kT7, Mo(2), Ds("x%VIEW_NAME%"));
  ASSERT_EQ(
      world_.Initialize(processor_, ProcessorConfig(Mapping(MapType(kT3, 3) + MapType(kT7, 7)) +
                                                    Views(kT3, "V") + Views(kT7, "V"))),
      S_OK);
  const Outcome outcome = Prepare(Request());
  ASSERT_EQ(outcome.status, S_OK);
  EXPECT_EQ(Branches(outcome.text),
            Sorted({Branch(u"a]b", u"V", u"[ProductID] = 3",
                           u"7J9JTWw2WhljvjS6Jt7es/lKxBZaI2I7R47KJeVc+PQ="),
                    // The view token that the name brings in is replaced; the
                    // digest is of the name as it stands.
                    Branch(u"xV", u"V", u"[ProductID] = 7",
                           u"2B76ZnInEtEyNgqhBj/tsdyjLr3mfh88rG70TFECksg=")}));
}

TEST_F(DBNameProcessorTest, OneHealthRequestPerCall) {
  for (int n = 1; n <= 6; ++n)
    world_.AddSource(n % 2 ? kT3 : kT7, Mo(n), Ds("D" + std::to_string(n)));
  ASSERT_EQ(world_.Initialize(processor_,
                              ProcessorConfig(Mapping(MapType(kT3, 3) + MapType(kT7, 7)) +
                                              Views(kT3, "V", R"(<AdditionalView ViewName="W"/>)") +
                                              Views(kT7, "V"))),
            S_OK);
  EXPECT_TRUE(world_.gate->requests.empty());  // Initialize asks nobody
  for (size_t call = 1; call <= 3; ++call) {
    const Outcome outcome = Prepare(Request());
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text).size(), 9u);
    EXPECT_EQ(world_.gate->requests.size(), call);
  }
  const Outcome none = Prepare(Request("Auditing_systems='i32[]:[42]'"));
  EXPECT_EQ(none.text, u"");
  EXPECT_EQ(world_.gate->requests.size(), 4u);
}

TEST_F(DBNameProcessorTest, InitializeReadsOnlyWhatTheHistoryAndDataSourcesAllow) {
  // 1: found and enabled; 2: not found; 3: another schema; 4: disabled and
  // never enabled; 5: disabled but once enabled; 6: enabled, never enabled
  // in the history; 7: two further databases; 8: another schema and no db
  // at all, which is never read.
  world_.AddSource(kT3, Mo(1), Ds("One"));
  world_.AddSource(kT3, Mo(2), "");
  world_.AddSource(kT3, Mo(3), Ds("Three", 2));
  world_.AddSource(kT3, Mo(4), Ds("Four", 1, false), false);
  world_.AddSource(kT3, Mo(5), Ds("Five", 1, false), true);
  world_.AddSource(kT3, Mo(6), Ds("Six", 1, true), false);
  world_.AddSource(
      kT3, Mo(7),
      Ds("Seven", 1, true,
         R"(<_ db="Seven2" DatabaseSchema="i32:1"/><_ db="Seven3" DatabaseSchema="i32:2"/>)"));
  world_.AddSource(kT3, Mo(8), R"(<_ DatabaseSchema="i32:5"/>)");
  // An unmapped type is passed over before anything of it is read.
  const std::string unmapped = R"(<DataSource _value="{00000000-0000-0000-0000-0000000000FF}"/>)";
  LogCapture::Instance().Take();
  SetMaxSeverity(Severity::DBG);
  const HRESULT status = world_.Initialize(
      processor_, ProcessorConfig(Mapping(MapType(kT3, 3)) + unmapped + Views(kT3, "V")));
  SetMaxSeverity(Severity::ERR);
  ASSERT_EQ(status, S_OK);

  ASSERT_EQ(world_.dataSources->calls.size(), 8u);
  for (const auto& call : world_.dataSources->calls) {
    EXPECT_EQ(call.flags, 1u);
    EXPECT_EQ(FormatGuid(*ParseGuid(call.id), 0), call.id);  // format 0
  }
  const Outcome outcome = Prepare(Request(), R"(<_ DbNameSeparator=","/>)", u"%DB_NAME%");
  EXPECT_EQ(Branches(outcome.text, u","), Sorted({u"One", u"Five", u"Six", u"Seven", u"Seven2"}));
  // Seven3 is filed with its own schema, which no request of schema 1 reads.
  const Outcome two = Prepare(R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)",
                              R"(<_ DbNameSeparator=","/>)", u"%DB_NAME%");
  EXPECT_EQ(two.text, u"Seven3");

  std::string log;
  for (const std::string& line : LogCapture::Instance().Take()) log += line + "\n";
  for (const std::string& expected : std::vector<std::string>{
           "Configuration:VXNode[0x", "Data Source ID:" + std::string(kT3),
           "Not found DS with id:" + Mo(2), "Found DS:VXNode[0x", "Schema mistmatch!",
           std::string("ProductID:3 View:[ONE].[DBO].[V]"),
           std::string("ProductID:3 View:[SEVEN2].[DBO].[V]")}) {
    EXPECT_NE(log.find(expected), std::string::npos) << expected;
  }
  EXPECT_EQ(log.find("Data Source ID:{00000000-0000-0000-0000-0000000000FF}"), std::string::npos);
}

TEST(DBNameProcessorInitializeTest, Failures) {
  const HRESULT broken = static_cast<HRESULT>(0x800706BA);
  const std::string mapping = Mapping(MapType(kT3, 3));
  const std::string views = Views(kT3, "V");
  auto without = [](std::string config, const std::string& attribute) {
    const size_t at = config.find(" " + attribute + "=");
    const size_t end = config.find('"', config.find('"', at) + 1);
    return config.erase(at, end + 1 - at);
  };
  struct Case {
    std::string what;
    std::string config;
    std::string dataSource;  // served for the one managed object of type 3
    HRESULT expected;
  };
  std::vector<Case> cases;
  for (const char* attribute :
       {"db_variable", "schema_variable", "view_variable", "default_db_schema", "alias_product_id",
        "db_hash_variable", "continuation_mark_column"}) {
    cases.push_back({std::string("no ") + attribute,
                     without(ProcessorConfig(mapping + views), attribute), Ds("A"), E_NOTFOUND});
  }
  cases.push_back({"no DataSourceMapping", ProcessorConfig(views), Ds("A"), E_NOTFOUND});
  cases.push_back(
      {"mapping without MandatoryProductId",
       ProcessorConfig(Mapping(R"(<DataSource _value=")" + std::string(kT3) + "\"/>") + views),
       Ds("A"), E_NOTFOUND});
  cases.push_back({"a mapping value that is no GUID",
                   ProcessorConfig(Mapping(MapType("T3", 3)) + views), Ds("A"), E_INVALIDARG});
  cases.push_back({"a DataSource value that is no GUID",
                   ProcessorConfig(mapping + R"(<DataSource _value="T3" ViewName="V"/>)"), Ds("A"),
                   E_INVALIDARG});
  cases.push_back({"a DataSource without ViewName",
                   ProcessorConfig(mapping + "<DataSource _value=\"" + kT3 + "\"/>"), Ds("A"),
                   E_NOTFOUND});
  cases.push_back({"an AdditionalView without ViewName",
                   ProcessorConfig(mapping + Views(kT3, "V", "<AdditionalView/>")), Ds("A"),
                   E_NOTFOUND});
  cases.push_back({"a data source without db", ProcessorConfig(mapping + views),
                   R"(<_ DatabaseSchema="i32:1" Enabled="bool:true"/>)", E_NOTFOUND});
  cases.push_back({"a data source without DatabaseSchema",
                   ProcessorConfig(mapping + Views(kT3, "V", "", 0)),
                   R"(<_ db="A" Enabled="bool:true"/>)", E_NOTFOUND});
  cases.push_back({"a further database without db", ProcessorConfig(mapping + views),
                   Ds("A", 1, true, R"(<_ DatabaseSchema="i32:1"/>)"), E_NOTFOUND});
  cases.push_back({"a further database without DatabaseSchema", ProcessorConfig(mapping + views),
                   Ds("A", 1, true, R"(<_ db="A2"/>)"), E_NOTFOUND});
  cases.push_back({"GetDataSource fails", ProcessorConfig(mapping + views), "", broken});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    DbNameWorld world;
    world.AddSource(kT3, Mo(1), c.dataSource);
    if (c.expected == broken) world.dataSources->Fail(ToUtf16(Mo(1)), broken);
    CDBNameProcessor processor;
    EXPECT_EQ(world.Initialize(processor, c.config), c.expected);
  }
}

TEST_F(DBNameProcessorTest, InitializeFailsWithoutItsServices) {
  world_.AddSource(kT3, Mo(1), Ds("A"));
  const std::string config = ProcessorConfig(Mapping(MapType(kT3, 3)) + Views(kT3, "V"));
  world_.serveDataSources = false;
  EXPECT_EQ(world_.Initialize(processor_, config), E_NOTFOUND);
  world_.serveDataSources = true;
  world_.server->byPath.clear();  // no history
  CDBNameProcessor withoutHistory;
  EXPECT_EQ(withoutHistory.Initialize(Node(config)), E_NOTFOUND);
  // Such a processor is never used; if it were, it would say so.
  EXPECT_EQ(Prepare(Request()).status, E_INVALID_STATE);
}

TEST_F(DBNameProcessorTest, ProcessNodeFailuresLeaveTheTextAlone) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  struct Case {
    const char* what;
    std::string request;
    HRESULT callStatus;
    bool serveGate;
    HRESULT expected;
    size_t healthRequests;
  };
  const HRESULT broken = static_cast<HRESULT>(0x800706BA);
  const Case cases[] = {
      {"the health service fails", Request(), broken, true, broken, 1},
      {"no service client", Request(), S_OK, false, E_NOTFOUND, 0},
      {"no DBSchema", R"(<Query Query_Template_Name="search"/>)", S_OK, true, E_NOTFOUND, 0},
      {"no Query_Template_Name", R"(<Query DBSchema="i32:1"/>)", S_OK, true, E_NOTFOUND, 0},
      {"a mark value that is no Base64",
       Request(R"(Continuous="bool:true" Continuation_Mark='str[]:["1:RID;*"]')"), S_OK, true,
       E_INVALID_DATA, 0},
      {"a sort entry without Column",
       R"(<Query Query_Template_Name="search" DBSchema="i32:1"><_ _name="SortingRoot"><_ Direction="ASC"/></_></Query>)",
       S_OK, true, E_NOTFOUND, 0},
      {"the sorting template without SortingRoot",
       R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:1"/>)",
       S_OK, true, E_NOTFOUND, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    world_.gate->callStatus = c.callStatus;
    world_.serveGate = c.serveGate;
    world_.gate->requests.clear();
    const Outcome outcome = Prepare(c.request);
    EXPECT_EQ(outcome.status, c.expected);
    EXPECT_EQ(outcome.text, kTemplate);
    EXPECT_EQ(world_.gate->requests.size(), c.healthRequests);
  }
}

TEST_F(DBNameProcessorTest, AMarkNumberThatDoesNotReadFailsBeforeAnythingElse) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  std::u16string text = kTemplate;
  VXNodePtr request =
      Node(Request(R"(Continuous="bool:true" Continuation_Mark='str[]:["abc:RID;MQA="]')"));
  EXPECT_THROW(processor_.ProcessNode(request, Node(kVariable), text), std::invalid_argument);
  request = Node(Request(
      R"(Continuous="bool:true" Continuation_Mark='str[]:["99999999999999999999:RID;MQA="]')"));
  EXPECT_THROW(processor_.ProcessNode(request, Node(kVariable), text), std::out_of_range);
  EXPECT_EQ(text, kTemplate);
  EXPECT_TRUE(world_.gate->requests.empty());
}

// A request of `templateName`, sorted by When and RID, with marks for the
// given databases (key, RID, When).
std::string PagedRequest(
    const std::string& templateName,
    const std::vector<std::tuple<std::u16string, std::u16string, std::u16string>>& marks) {
  std::string list;
  for (const auto& [dbKey, rid, when] : marks) {
    if (!list.empty()) list += ",";
    list += "\"" + ToUtf8(WriteMarkElement(dbKey, {{u"RID", rid}, {u"When", when}})) + "\"";
  }
  std::string request = "<Query Query_Template_Name=\"" + templateName +
                        "\" DBSchema=\"i32:1\" Continuous=\"bool:true\"";
  if (!list.empty()) request += " Continuation_Mark='str[]:[" + list + "]'";
  return request + R"(><_ _name="SortingRoot"><_ Column="When" Direction="DESC" Order="i32:1"/>)"
                   R"(<_ Column="RID" Direction="DESC" Order="i32:2"/></_></Query>)";
}

TEST_F(DBNameProcessorTest, EachDatabaseGetsItsOwnPagingPosition) {
  AddExampleSources(world_);
  ASSERT_EQ(
      world_.Initialize(
          processor_, ProcessorConfig(Mapping(MapType(kT3, 3) + MapType(kT7, 7) + MapType(kT9, 9)) +
                                      R"(<MarkEntry Name="When" RequiredCollate="bool:false"/>)" +
                                      Views(kT3, "V") + Views(kT7, "V") + Views(kT9, "W"))),
      S_OK);
  const std::string variable = R"(<_ DbNameSeparator="|"/>)";
  struct Case {
    const char* what;
    std::string request;
    std::u16string text;
    std::vector<std::u16string> expected;
  };
  const std::u16string sortingText = u"%VIEW_NAME%@%DB_NAME%:%CMARK_CURRENT_DATA%";
  auto current = [](std::u16string_view view, std::u16string_view db, std::u16string_view products,
                    std::u16string_view condition) {
    return std::u16string(view) + u"@" + std::u16string(db) +
           u":%WHO_GROUP_CONDITION_InGroup%\n%WHO_GROUP_CONDITION_NotInGroup%\nWHERE\n(" +
           std::u16string(products) + u") AND (%CONDITION%) AND (%ACCESS_FILTER%) AND (" +
           std::u16string(condition) + u")\n";
  };
  const std::u16string markB =
      u"([CurrentData].[When] = N'w''1') AND ([CurrentData].[RID] < '42') AND (1=1)";
  const Case cases[] = {
      {"the default processor, a mark for B only",
       Request(R"(Continuous="bool:true" Continuation_Mark='str[]:[")" +
               ToUtf8(WriteMarkElement(u"[b]", {{u"RID", u"42"}})) + "\"]'"),
       u"%VIEW_NAME%@%DB_NAME%:%CONDITION_CMARK%",
       {u"V@A:[RID] > '0'", u"V@B:[RID] > '42'", u"W@B:[RID] > '42'"}},
      {"the default processor, without a mark",
       Request(),
       u"%VIEW_NAME%@%DB_NAME%:%CONDITION_CMARK%",
       {u"V@A:[RID] > '0'", u"V@B:[RID] > '0'", u"W@B:[RID] > '0'"}},
      {"the sorting processor, a mark for B only",
       PagedRequest("query_all_data_by_rid_with_cm_sort", {{u"[B]", u"42", u"w'1"}}),
       sortingText,
       {current(u"V", u"A", u"[ProductID] = 3", u"(2=1)"),
        current(u"V", u"B", u"[ProductID] = 3 OR [ProductID] = 7", markB),
        current(u"W", u"B", u"[ProductID] = 9", markB)}},
      {"the sorting processor, a first page",
       PagedRequest("query_all_data_by_rid_with_cm_sort", {}),
       sortingText,
       {current(u"V", u"A", u"[ProductID] = 3", u"(2=1)"),
        current(u"V", u"B", u"[ProductID] = 3 OR [ProductID] = 7", u"(2=1)"),
        current(u"W", u"B", u"[ProductID] = 9", u"(2=1)")}},
      {"a mark, and a template without paging tokens",
       PagedRequest("query_all_data_by_rid_with_cm_sort", {{u"[B]", u"42", u"w"}}),
       u"%VIEW_NAME%@%DB_NAME%",
       {u"V@A", u"V@B", u"W@B"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome outcome = Prepare(c.request, variable, c.text);
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text, u"|"), Sorted(c.expected));
  }
}

TEST_F(DBNameProcessorTest, AMarkColumnWithoutMarkEntryFailsTheRequest) {
  AddExampleSources(world_);
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);  // no MarkEntry
  const std::string request =
      PagedRequest("query_all_data_by_rid_with_cm_sort", {{u"[B]", u"42", u"w"}});
  for (const std::u16string text : {u"%DB_NAME%:%CMARK_CURRENT_DATA%", u"%DB_NAME%"}) {
    const Outcome outcome = Prepare(request, kVariable, text);
    EXPECT_EQ(outcome.status, E_INVALIDARG) << ToUtf8(text);
    EXPECT_EQ(outcome.text, text);
  }
  // A first page never consults the list.
  EXPECT_EQ(Prepare(PagedRequest("query_all_data_by_rid_with_cm_sort", {}), kVariable,
                    u"%DB_NAME%:%CMARK_CURRENT_DATA%")
                .status,
            S_OK);
}

TEST_F(DBNameProcessorTest, ProcessNodeTraces) {
  world_.AddSource(kT3, Mo(1), Ds("a]b"));
  ASSERT_EQ(
      world_.Initialize(processor_, ProcessorConfig(Mapping(MapType(kT3, 3)) + Views(kT3, "V"))),
      S_OK);
  LogCapture::Instance().Take();
  SetMaxSeverity(Severity::DBG);
  Prepare(Request("Auditing_systems='i32[]:[3,8]' Suppressed_Auditing_systems='i32[]:[8]'"));
  SetMaxSeverity(Severity::ERR);
  std::string log;
  for (const std::string& line : LogCapture::Instance().Take()) log += line + "\n";
  for (const char* expected : {"ProductID:3", "Add [A]]B]", " DBName:a]b"}) {
    EXPECT_NE(log.find(expected), std::string::npos) << expected;
  }
  EXPECT_EQ(log.find("ProductID:8"), std::string::npos);
}

}  // namespace
}  // namespace QueriesProcessing
