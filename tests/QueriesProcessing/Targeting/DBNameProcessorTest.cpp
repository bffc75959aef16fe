#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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
using Texts = std::vector<std::u16string>;

// Data source types, one product each unless a case says otherwise.
constexpr char kT3[] = "{00000000-0000-0000-0000-000000000003}";
constexpr char kT7[] = "{00000000-0000-0000-0000-000000000007}";
constexpr char kT9[] = "{00000000-0000-0000-0000-000000000009}";
const HRESULT kBroken = static_cast<HRESULT>(0x800706BA);

// Managed objects: the last digits tell them apart.
std::string Mo(int n) {
  const std::string digits = std::to_string(n);
  return "{A0000000-0000-0000-0000-" + std::string(12 - digits.size(), '0') + digits + "}";
}

// SHA-256 of the UTF-16LE bytes of "A" and "B", in Base64.
constexpr char16_t kHashA[] = u"5hwhynFrOxrvt9EZj4NnnEyk1ZbleSJ13WIDtJIWI30=";
constexpr char16_t kHashB[] = u"9sblfMPawdaiNJcBBW/1o+SBNO/kSWqMD1y5/J5t/BI=";

constexpr char16_t kTemplate[] =
    u"FROM [%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%] WHERE (%CONDITION_PRODUCT_ID%) /*%DB_HASH%*/";
constexpr char kVariable[] = R"(<_ DbNameSeparator="|"/>)";

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

std::string MapType(const char* type, int product, const std::string& additional = "") {
  return "<DataSource _value=\"" + std::string(type) + "\" MandatoryProductId=\"i32:" +
         std::to_string(product) + "\"" +
         (additional.empty() ? "" : " AdditionalProductIds='i32[]:[" + additional + "]'") + "/>";
}

std::string Config(const std::string& mapTypes, const std::string& rest) {
  return ProcessorConfig(R"(<_ _name="DataSourceMapping">)" + mapTypes + "</_>" + rest);
}

std::string Views(const char* type, const std::string& view, const std::string& additional = "",
                  int schema = 1) {
  return "<DataSource _value=\"" + std::string(type) + "\" ViewName=\"" + view +
         "\" db_schema=\"i32:" + std::to_string(schema) + "\">" + additional + "</DataSource>";
}

// The worked example: database A serves V for product 3; database B serves
// V for products 3 and 7 and W for product 9.
std::string ExampleConfig(const std::string& extra = "") {
  return Config(MapType(kT3, 3) + MapType(kT7, 7) + MapType(kT9, 9),
                extra + Views(kT3, "V") + Views(kT7, "V") + Views(kT9, "W"));
}

std::string Request(const std::string& attributes = "") {
  return R"(<Query Query_Template_Name="search" DBSchema="i32:1" )" + attributes + "/>";
}

// The branches of a fan-out, sorted: the order of the pairs is a hash map's.
Texts Branches(std::u16string_view text, std::u16string_view separator = u"|") {
  Texts branches;
  for (size_t from = 0; !text.empty();) {
    const size_t at = text.find(separator, from);
    branches.emplace_back(text.substr(from, at - from));
    if (at == std::u16string_view::npos) break;
    from = at + separator.size();
  }
  std::sort(branches.begin(), branches.end());
  return branches;
}

Texts Sorted(Texts branches) {
  std::sort(branches.begin(), branches.end());
  return branches;
}

struct Outcome {
  HRESULT status;
  std::u16string text;
};

class DBNameProcessorTest : public ::testing::Test {
 protected:
  Outcome Prepare(const std::string& request, const std::string& variable = kVariable,
                  std::u16string text = kTemplate) {
    VXNodePtr requestNode = Node(request);
    const HRESULT status =
        processor_.ProcessNode(requestNode, variable.empty() ? VXNodePtr() : Node(variable), text);
    return {status, text};
  }

  void InitializeExample(const std::string& extra = "") {
    world_.AddSource(kT3, Mo(1), Ds("A"));
    world_.AddSource(kT3, Mo(2), Ds("B"));
    world_.AddSource(kT7, Mo(3), Ds("B"));
    world_.AddSource(kT9, Mo(4), Ds("B"));
    ASSERT_EQ(world_.Initialize(processor_, ExampleConfig(extra)), S_OK);
  }

  DbNameWorld world_;
  CDBNameProcessor processor_;
};

TEST_F(DBNameProcessorTest, RequestedAndSuppressedProductsChooseTheBranches) {
  InitializeExample();
  EXPECT_TRUE(world_.gate->requests.empty());  // Initialize asks nobody
  const std::u16string a3 = Branch(u"A", u"V", u"[ProductID] = 3", kHashA);
  const std::u16string b3 = Branch(u"B", u"V", u"[ProductID] = 3", kHashB);
  const std::u16string b37 = Branch(u"B", u"V", u"[ProductID] = 3 OR [ProductID] = 7", kHashB);
  const std::u16string b9 = Branch(u"B", u"W", u"[ProductID] = 9", kHashB);
  struct Case {
    std::string request;
    Texts expected;
  };
  const Case cases[] = {
      {Request(), {a3, b37, b9}},
      {Request("Auditing_systems='i32[]:[]'"), {a3, b37, b9}},
      {Request("Auditing_systems='i32[]:[3]'"), {a3, b3}},
      {Request("Auditing_systems='i32[]:[7,3]'"), {a3, b37}},
      {Request("Auditing_systems='str[]:[\"9\"]'"), {b9}},
      {Request("Auditing_systems='i32[]:[42]'"), {}},
      {Request("Suppressed_Auditing_systems='i32[]:[7]'"), {a3, b3, b9}},
      {Request("Auditing_systems='i32[]:[3,9]' Suppressed_Auditing_systems='i32[]:[9]'"), {a3, b3}},
      {Request("Suppressed_Auditing_systems='i32[]:[3,7,9]'"), {}},
      {R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)", {}},
      // The sorting processor would fail for lack of SortingRoot; with no
      // target it never runs.
      {R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:2"/>)", {}},
  };
  size_t calls = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.request);
    const Outcome outcome = Prepare(c.request);
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
    // One health request per call, whatever the number of databases.
    EXPECT_EQ(world_.gate->requests.size(), ++calls);
  }
}

TEST_F(DBNameProcessorTest, ServesTheTokenInACatalogue) {
  InitializeExample();  // serves the history
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

TEST_F(DBNameProcessorTest, ExplicitAndAdditionalViews) {
  // Type 3 carries products 3 and 4. X is explicit only; Y carries the type's
  // products; Z carries product 5 alone, and is filed under product 3.
  world_.AddSource(kT3, Mo(1), Ds("A"));
  const std::string additional = R"(<AdditionalView ViewName="X" ExplicitOnly="bool:true"/>)"
                                 R"(<AdditionalView ViewName="Y"/>)"
                                 R"(<AdditionalView ViewName="Z" ExplicitProductId="i32:5"/>)"
                                 R"(<Other ViewName="Ignored"/>)";
  const std::string config = Config(MapType(kT3, 3, "4"), Views(kT3, "V", additional));
  ASSERT_EQ(world_.Initialize(processor_, config), S_OK);
  const std::u16string both = u"[ProductID] = 3 OR [ProductID] = 4";
  const std::u16string z = Branch(u"A", u"Z", u"[ProductID] = 5", kHashA);
  struct Case {
    std::string explicitView;
    std::string request;
    Texts expected;
  };
  const Case cases[] = {
      {"", Request(), {Branch(u"A", u"V", both, kHashA), Branch(u"A", u"Y", both, kHashA), z}},
      {"X", Request(), {Branch(u"A", u"X", both, kHashA)}},
      {"Z", Request(), {z}},
      {"x", Request(), {}},  // view names are exact
      {"X", R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)", {}},
      {"", Request("Auditing_systems='i32[]:[5]'"), {}},  // Z is filed under 3
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.explicitView + " " + c.request);
    const Outcome outcome =
        Prepare(c.request, R"(<_ DbNameSeparator="|" ExplicitView=")" + c.explicitView + "\"/>");
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
  }
}

TEST_F(DBNameProcessorTest, NamesAreWrittenAsTheyStandAndTheFirstOfOneDatabaseWins) {
  world_.AddSource(kT3, Mo(1), Ds("Audit"));
  world_.AddSource(kT7, Mo(2), Ds("AUDIT"));
  world_.AddSource(kT9, Mo(3), Ds("x%VIEW_NAME%"));
  world_.AddSource(kT9, Mo(4), Ds("a]b"));
  ASSERT_EQ(world_.Initialize(processor_, ExampleConfig()), S_OK);
  const std::u16string both = u"[ProductID] = 3 OR [ProductID] = 7";
  struct Case {
    const char* products;
    Texts expected;
  };
  const Case cases[] = {
      {"[3,7]", {Branch(u"Audit", u"V", both, u"sQpA3K4YEn+tAdFRu3DxFE5rDZC5+faW6k/2V3tRvxc=")}},
      {"[7,3]", {Branch(u"AUDIT", u"V", both, u"tFidlu4msPmy5Na5eMVQ++vftpQa/qk9XKffoKLna+c=")}},
      // Nothing is escaped, the view token that a name brings in is
      // replaced, and the digest is of the name as it stands.
      {"[9]",
       {Branch(u"a]b", u"W", u"[ProductID] = 9", u"7J9JTWw2WhljvjS6Jt7es/lKxBZaI2I7R47KJeVc+PQ="),
        Branch(u"xW", u"W", u"[ProductID] = 9", u"2B76ZnInEtEyNgqhBj/tsdyjLr3mfh88rG70TFECksg=")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.products);
    const Outcome outcome = Prepare(Request("Auditing_systems='i32[]:" + std::string(c.products) +
                                            "'"));
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
  }
}

TEST_F(DBNameProcessorTest, PerUseNodeOptions) {
  world_.AddSource(kT3, Mo(1), Ds("A"));
  world_.AddSource(kT3, Mo(2), Ds("B"));
  const std::string w = R"(<AdditionalView ViewName="W"/>)";
  ASSERT_EQ(world_.Initialize(processor_, Config(MapType(kT3, 3), Views(kT3, "V", w))), S_OK);
  const std::u16string text = u"%DB_NAME%.%VIEW_NAME%";
  EXPECT_EQ(Branches(Prepare(Request(), kVariable, text).text),
            Sorted({u"A.V", u"A.W", u"B.V", u"B.W"}));
  // Without a per-use node the branches join with nothing.
  const std::u16string joined = Prepare(Request(), "", u"<%VIEW_NAME%>").text;
  EXPECT_EQ(joined.size(), 12u) << ToUtf8(joined);
  const Texts once = Branches(
      Prepare(Request(), R"(<_ DbNameSeparator="|" once_per_db="bool:true"/>)", text).text);
  ASSERT_EQ(once.size(), 2u);  // which view comes first is the hash map's choice
  EXPECT_TRUE(once[0] == u"A.V" || once[0] == u"A.W");
  EXPECT_TRUE(once[1] == u"B.V" || once[1] == u"B.W");
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
  world_.AddSource(kT3, Mo(7), Ds("Seven", 1, true, R"(<_ db="Seven2" DatabaseSchema="i32:1"/>)"
                                                    R"(<_ db="Seven3" DatabaseSchema="i32:2"/>)"));
  world_.AddSource(kT3, Mo(8), R"(<_ DatabaseSchema="i32:5"/>)");
  // An unmapped type is passed over before anything of it is read.
  const std::string unmapped = R"(<DataSource _value="{00000000-0000-0000-0000-0000000000FF}"/>)";
  LogCapture::Instance().Take();
  SetMaxSeverity(Severity::DBG);
  ASSERT_EQ(world_.Initialize(processor_, Config(MapType(kT3, 3), unmapped + Views(kT3, "V"))),
            S_OK);
  const Outcome one =
      Prepare(Request("Auditing_systems='i32[]:[3,8]' Suppressed_Auditing_systems='i32[]:[8]'"),
              kVariable, u"%DB_NAME%");
  SetMaxSeverity(Severity::ERR);

  // The fake knows the ids only in format 0.
  EXPECT_EQ(world_.dataSources->flags, std::vector<uint32_t>(8, 1u));
  EXPECT_EQ(Branches(one.text), Sorted({u"One", u"Five", u"Six", u"Seven", u"Seven2"}));
  // Seven3 is filed with its own schema, which no request of schema 1 reads.
  EXPECT_EQ(Prepare(R"(<Query Query_Template_Name="search" DBSchema="i32:2"/>)", kVariable,
                    u"%DB_NAME%").text,
            u"Seven3");

  std::string log;
  for (const std::string& line : LogCapture::Instance().Take()) log += line;
  for (const std::string& expected :
       {"Data Source ID:" + std::string(kT3), "Not found DS with id:" + Mo(2),
        std::string("Schema mistmatch!"), std::string("ProductID:3 View:[SEVEN2].[DBO].[V]"),
        std::string("ProductID:3\r"), std::string("Add [SEVEN2]")}) {
    EXPECT_NE(log.find(expected), std::string::npos) << expected;
  }
  EXPECT_EQ(log.find("ProductID:8"), std::string::npos);  // suppressed: not traced
  EXPECT_EQ(log.find("Data Source ID:{00000000-0000-0000-0000-0000000000FF}"), std::string::npos);
}

TEST(DBNameProcessorInitializeTest, Failures) {
  const std::string mapping = MapType(kT3, 3);
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
    cases.push_back({std::string("no ") + attribute, without(Config(mapping, views), attribute),
                     Ds("A"), E_NOTFOUND});
  }
  const std::string t3 = "<DataSource _value=\"" + std::string(kT3) + "\"/>";
  const std::vector<Case> more = {
      {"no DataSourceMapping", ProcessorConfig(views), Ds("A"), E_NOTFOUND},
      {"mapping without MandatoryProductId", Config(t3, views), Ds("A"), E_NOTFOUND},
      {"a mapping value that is no GUID", Config(MapType("T3", 3), views), Ds("A"), E_INVALIDARG},
      {"a DataSource value that is no GUID",
       Config(mapping, R"(<DataSource _value="T3" ViewName="V"/>)"), Ds("A"), E_INVALIDARG},
      {"a DataSource without ViewName", Config(mapping, t3), Ds("A"), E_NOTFOUND},
      {"an AdditionalView without ViewName",
       Config(mapping, Views(kT3, "V", "<AdditionalView/>")), Ds("A"), E_NOTFOUND},
      {"a data source without db", Config(mapping, views),
       R"(<_ DatabaseSchema="i32:1" Enabled="bool:true"/>)", E_NOTFOUND},
      {"a data source without DatabaseSchema", Config(mapping, Views(kT3, "V", "", 0)),
       R"(<_ db="A" Enabled="bool:true"/>)", E_NOTFOUND},
      {"a further database without db", Config(mapping, views),
       Ds("A", 1, true, R"(<_ DatabaseSchema="i32:1"/>)"), E_NOTFOUND},
      {"a further database without DatabaseSchema", Config(mapping, views),
       Ds("A", 1, true, R"(<_ db="A2"/>)"), E_NOTFOUND},
      {"GetDataSource fails", Config(mapping, views), "", kBroken},
  };
  cases.insert(cases.end(), more.begin(), more.end());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    DbNameWorld world;
    world.AddSource(kT3, Mo(1), c.dataSource);
    if (c.expected == kBroken) world.dataSources->failures[ToUtf16(Mo(1))] = kBroken;
    CDBNameProcessor processor;
    EXPECT_EQ(world.Initialize(processor, c.config), c.expected);
  }
}

TEST_F(DBNameProcessorTest, InitializeFailsWithoutItsServices) {
  world_.AddSource(kT3, Mo(1), Ds("A"));
  const std::string config = Config(MapType(kT3, 3), Views(kT3, "V"));
  world_.serveDataSources = false;
  EXPECT_EQ(world_.Initialize(processor_, config), E_NOTFOUND);
  world_.serveDataSources = true;
  world_.server->byPath.clear();  // no history
  CDBNameProcessor withoutHistory;
  EXPECT_EQ(withoutHistory.Initialize(Node(config)), E_NOTFOUND);
  // Such a processor is never used; if it were, it would say so.
  EXPECT_EQ(Prepare(Request()).status, E_INVALID_STATE);
}

// A request of the sorting paging template, sorted by When and RID, with
// marks for the given databases (key, RID, When).
std::string PagedRequest(const std::vector<std::array<std::u16string, 3>>& marks) {
  std::string list;
  for (const auto& [dbKey, rid, when] : marks) {
    if (!list.empty()) list += ",";
    list += "\"" + ToUtf8(WriteMarkElement(dbKey, {{u"RID", rid}, {u"When", when}})) + "\"";
  }
  std::string request =
      R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:1" Continuous="bool:true")";
  if (!list.empty()) request += " Continuation_Mark='str[]:[" + list + "]'";
  return request + R"(><_ _name="SortingRoot"><_ Column="When" Direction="DESC" Order="i32:1"/>)"
                   R"(<_ Column="RID" Direction="DESC" Order="i32:2"/></_></Query>)";
}

TEST_F(DBNameProcessorTest, ProcessNodeFailuresLeaveTheTextAlone) {
  InitializeExample();  // no MarkEntry
  struct Case {
    const char* what;
    std::string request;
    std::u16string text;
    HRESULT callStatus;
    bool serveGate;
    HRESULT expected;
    size_t healthRequests;
  };
  const std::u16string markText = u"%DB_NAME%:%CMARK_CURRENT_DATA%";
  const std::string marked = PagedRequest({{u"[B]", u"42", u"w"}});
  const Case cases[] = {
      {"the health service fails", Request(), kTemplate, kBroken, true, kBroken, 1},
      {"no service client", Request(), kTemplate, S_OK, false, E_NOTFOUND, 0},
      {"no DBSchema", R"(<Query Query_Template_Name="search"/>)", kTemplate, S_OK, true,
       E_NOTFOUND, 0},
      {"no Query_Template_Name", R"(<Query DBSchema="i32:1"/>)", kTemplate, S_OK, true, E_NOTFOUND,
       0},
      {"a mark value that is no Base64",
       Request(R"(Continuous="bool:true" Continuation_Mark='str[]:["1:RID;*"]')"), kTemplate, S_OK,
       true, E_INVALID_DATA, 0},
      {"a sort entry without Column",
       R"(<Query Query_Template_Name="search" DBSchema="i32:1"><_ _name="SortingRoot"><_ Direction="ASC"/></_></Query>)",
       kTemplate, S_OK, true, E_NOTFOUND, 0},
      {"the sorting template without SortingRoot",
       R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:1"/>)",
       kTemplate, S_OK, true, E_NOTFOUND, 1},
      {"a mark column without MarkEntry", marked, markText, S_OK, true, E_INVALIDARG, 1},
      {"... also where the template has no mark token", marked, u"%DB_NAME%", S_OK, true,
       E_INVALIDARG, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    world_.gate->callStatus = c.callStatus;
    world_.serveGate = c.serveGate;
    world_.gate->requests.clear();
    const Outcome outcome = Prepare(c.request, kVariable, c.text);
    EXPECT_EQ(outcome.status, c.expected);
    EXPECT_EQ(outcome.text, c.text);
    EXPECT_EQ(world_.gate->requests.size(), c.healthRequests);
  }
  // A first page never consults the mark columns.
  world_.gate->callStatus = S_OK;
  EXPECT_EQ(Prepare(PagedRequest({}), kVariable, markText).status, S_OK);

  // A mark hash that does not read as a number fails before anything else.
  world_.gate->requests.clear();
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

TEST_F(DBNameProcessorTest, EachDatabaseGetsItsOwnPagingPosition) {
  InitializeExample(R"(<MarkEntry Name="When" RequiredCollate="bool:false"/>)");
  struct Case {
    const char* what;
    std::string request;
    std::u16string text;
    Texts expected;
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
  const std::u16string b37 = u"[ProductID] = 3 OR [ProductID] = 7";
  const Case cases[] = {
      {"the default processor, a mark for B only",
       Request(R"(Continuous="bool:true" Continuation_Mark='str[]:[")" +
               ToUtf8(WriteMarkElement(u"[b]", {{u"RID", u"42"}})) + "\"]'"),
       u"%VIEW_NAME%@%DB_NAME%:%CONDITION_CMARK%",
       {u"V@A:[RID] > '0'", u"V@B:[RID] > '42'", u"W@B:[RID] > '42'"}},
      {"the sorting processor, a mark for B only",
       PagedRequest({{u"[B]", u"42", u"w'1"}}),
       sortingText,
       {current(u"V", u"A", u"[ProductID] = 3", u"(2=1)"), current(u"V", u"B", b37, markB),
        current(u"W", u"B", u"[ProductID] = 9", markB)}},
      {"the sorting processor, a first page",
       PagedRequest({}),
       sortingText,
       {current(u"V", u"A", u"[ProductID] = 3", u"(2=1)"), current(u"V", u"B", b37, u"(2=1)"),
        current(u"W", u"B", u"[ProductID] = 9", u"(2=1)")}},
      {"a mark, and a template without paging tokens",
       PagedRequest({{u"[B]", u"42", u"w"}}),
       u"%VIEW_NAME%@%DB_NAME%",
       {u"V@A", u"V@B", u"W@B"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome outcome = Prepare(c.request, kVariable, c.text);
    ASSERT_EQ(outcome.status, S_OK);
    EXPECT_EQ(Branches(outcome.text), Sorted(c.expected));
  }
}

}  // namespace
}  // namespace QueriesProcessing
