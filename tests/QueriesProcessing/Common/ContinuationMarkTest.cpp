#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "QueriesProcessing/Common/ContinuationMark.h"
#include "QueriesProcessing/Common/DatabaseHash.h"
#include "QueriesProcessing/Common/MarkElementWriter.h"

namespace QueriesProcessing {
namespace {

VXNodePtr Parse(const std::string& text) {
  return ReadNodeText("<nr>" + text + "</nr>", "test")[0];
}

// A JSON string literal of the node text's list form.
std::string Quoted(const std::u16string& text) {
  std::string out = "\"";
  for (char c : ToUtf8(text)) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

VXNodePtr Request(const std::vector<std::u16string>& marks,
                  const std::string& continuous = "bool:true", const std::string& sorting = "") {
  std::string list;
  for (const auto& m : marks) list += (list.empty() ? "" : ",") + Quoted(m);
  std::string text = "<Query";
  if (!continuous.empty()) text += " Continuous=\"" + continuous + "\"";
  text += " Continuation_Mark='str[]:[" + list + "]'>" + sorting + "</Query>";
  return Parse(text);
}

std::u16string Hash(std::u16string_view dbKey) { return ToTextUnsigned(DatabaseHash(dbKey)); }

// The entry as an ordered map, for readable failures.
std::map<std::string, std::string> Sorted(const MarkEntry& entry) {
  std::map<std::string, std::string> sorted;
  for (const auto& [name, value] : entry) sorted[ToUtf8(name)] = ToUtf8(value);
  return sorted;
}

using Entry = std::map<std::string, std::string>;

TEST(DatabaseHashTest, FnvOverTheUpperCasedKey) {
  EXPECT_EQ(DatabaseHash(u""), 0xcbf29ce484222325ull);
  EXPECT_EQ(DatabaseHash(u"[AUDIT]"), 6660349866077796214ull);
  EXPECT_EQ(DatabaseHash(u"[audit]"), 6660349866077796214ull);
  EXPECT_EQ(DatabaseHash(u"[\u00e4udit]"), 2071253902936922387ull);  // "[ÄUDIT]", two bytes a unit
  EXPECT_NE(DatabaseHash(u"[AUDIT2]"), DatabaseHash(u"[AUDIT]"));
}

TEST(ContinuationMarkTest, ReadsMarks) {
  const std::u16string a = Hash(u"[A]") + u":";
  const std::u16string b = Hash(u"[B]") + u":";
  struct Case {
    const char* name;
    std::vector<std::u16string> marks;
    Entry forA;
    Entry forB;
  } cases[] = {
      {"one column", {a + u"RID;NAAyAA=="}, {{"RID", "42"}}, {}},
      {"two databases",
       {a + u"RID;MQA=", b + u"RID;MgA=,When;dwA="},
       {{"RID", "1"}},
       {{"RID", "2"}, {"When", "w"}}},
      {"same hash twice: the first stays", {a + u"RID;MQA=", a + u"RID;MgA="}, {{"RID", "1"}}, {}},
      {"empty Base64 is an empty value", {a + u"RID;"}, {{"RID", ""}}, {}},
      {"nothing behind the colon", {a}, {}, {}},
      {"element without a colon is skipped", {u"RID;MQA=", b + u"RID;MgA="}, {}, {{"RID", "2"}}},
      {"entry without a semicolon is skipped", {a + u"RID,When;dwA=,"}, {{"When", "w"}}, {}},
      {"a name twice: the first value stays", {a + u"RID;MQA=,RID;MgA="}, {{"RID", "1"}}, {}},
      {"the first semicolon splits", {a + u";MQA=,x;"}, {{"", "1"}, {"x", ""}}, {}},
      {"an odd last byte is dropped", {a + u"v;YQBi"}, {{"v", "a"}}, {}},
      {"blanks, sign and text around the number",
       {u" +" + a.substr(0, a.size() - 1) + u"x:RID;MQA="},
       {{"RID", "1"}},
       {}},
      {"a negative number wraps",
       {u"-" + ToTextUnsigned(0 - DatabaseHash(u"[A]")) + u":RID;MQA="},
       {{"RID", "1"}},
       {}},
  };
  for (const auto& c : cases) {
    const CContinuationMark mark(Request(c.marks));
    EXPECT_EQ(Sorted(mark.GetMarkForDB(u"[A]")), c.forA) << c.name;
    EXPECT_EQ(Sorted(mark.GetMarkForDB(u"[B]")), c.forB) << c.name;
    EXPECT_TRUE(mark.GetMarkForDB(u"[C]").empty()) << c.name;
  }
}

TEST(ContinuationMarkTest, NoMarksWithoutAContinuousSearch) {
  const std::vector<std::u16string> marks = {Hash(u"[A]") + u":RID;MQA="};
  for (const std::string continuous : {"bool:false", ""}) {
    const CContinuationMark mark(Request(marks, continuous));
    EXPECT_TRUE(mark.GetMarkForDB(u"[A]").empty()) << continuous;
  }
  // Bad marks are not even read then.
  EXPECT_NO_THROW(CContinuationMark(Request({u"x:RID;@@@@"}, "bool:false")));
  EXPECT_TRUE(
      CContinuationMark(Parse(R"(<Query Continuous="bool:true"/>)")).GetMarkForDB(u"[A]").empty());
}

TEST(ContinuationMarkTest, TheDatabaseKeyIsComparedWithoutCase) {
  const CContinuationMark mark(Request({Hash(u"[AUDIT_\u00c4]") + u":RID;NwA="}));
  for (const std::u16string key : {u"[AUDIT_\u00c4]", u"[audit_\u00e4]", u"[Audit_\u00c4]"}) {
    EXPECT_EQ(Sorted(mark.GetMarkForDB(key)), (Entry{{"RID", "7"}})) << ToUtf8(key);
  }
  EXPECT_TRUE(mark.GetMarkForDB(u"[AUDIT_A]").empty());
}

std::string Failure(const std::vector<std::u16string>& marks, const std::string& sorting = "") {
  try {
    CContinuationMark mark(Request(marks, "bool:true", sorting));
    return "none";
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range: ") + e.what();
  } catch (const HRX& e) {
    return ToUtf8(FormatString(u"HRX 0x%08X", static_cast<uint32_t>(e.code())));
  }
}

TEST(ContinuationMarkTest, BadMarksFail) {
  const std::u16string a = Hash(u"[A]") + u":";
  struct Case {
    std::vector<std::u16string> marks;
    std::string expected;
  } cases[] = {
      {{u"abc:RID;MQA="}, "invalid_argument: invalid stoull argument"},
      {{u":RID;MQA="}, "invalid_argument: invalid stoull argument"},
      {{u"-:"}, "invalid_argument: invalid stoull argument"},
      {{u" :"}, "invalid_argument: invalid stoull argument"},
      {{u"\uff11:"}, "invalid_argument: invalid stoull argument"},  // a fullwidth digit is no digit
      {{a + u"RID;MQA=", u"x:"}, "invalid_argument: invalid stoull argument"},
      {{u"18446744073709551615:"}, "none"},
      {{u"18446744073709551616:"}, "out_of_range: stoull argument out of range"},
      {{u"-18446744073709551616:"}, "out_of_range: stoull argument out of range"},
      {{u"99999999999999999999999999:"}, "out_of_range: stoull argument out of range"},
      {{a + u"RID;MQA"}, "HRX 0x8007000D"},
      {{a + u"RID;@@@@"}, "HRX 0x8007000D"},
      {{a + u"RID;MQ=A"}, "HRX 0x8007000D"},
      {{u"x:RID;@@@@"}, "HRX 0x8007000D"},  // the entries are read before the number
      {{u"no colon at all"}, "none"},
  };
  for (const auto& c : cases) EXPECT_EQ(Failure(c.marks), c.expected) << ToUtf8(c.marks.back());
  EXPECT_EQ(Failure({}, R"(<_ _name="SortingRoot"><_ Direction="ASC"/></_>)"), "HRX 0x80070490");
}

TEST(ContinuationMarkTest, Columns) {
  using Set = std::unordered_set<std::u16string>;
  EXPECT_EQ(CContinuationMark(Request({})).Columns(), (Set{u"RID"}));
  const CContinuationMark sorted(Request(
      {}, "",
      R"(<_ _name="SortingRoot"><_ Column="What_Action"/><_ Column="When"/><_ Column="RID"/></_>)"));
  EXPECT_EQ(sorted.Columns(), (Set{u"What_Action", u"ActionCode", u"When", u"RID"}));
}

TEST(MarkElementWriterTest, TheReaderReadsWhatItWrites) {
  EXPECT_EQ(WriteMarkElement(u"[AUDIT]", {{u"RID", u"1"}}), u"6660349866077796214:RID;MQA=");
  EXPECT_EQ(WriteMarkElement(u"[AUDIT]", {}), u"6660349866077796214:");
  const std::vector<std::vector<MarkColumn>> cases = {
      {},
      {{u"RID", u"123"}},
      {{u"When", u"2024-01-02 03:04:05.678"}, {u"RID", u"9"}},
      {{u"Who", u"a,b;c:d'e\"f"}, {u"RID", u""}},
      {{u"What_Action", u"Ge\u00e4ndert \U0001F600"}, {u"ActionCode", u"3"}, {u"RID", u"1"}},
      {{u"a:b", u"colon in a name"}},
  };
  for (const auto& columns : cases) {
    const CContinuationMark mark(Request({WriteMarkElement(u"[Audit]", columns)}));
    MarkEntry expected(columns.begin(), columns.end());
    EXPECT_EQ(Sorted(mark.GetMarkForDB(u"[AUDIT]")), Sorted(expected));
  }
  for (const std::u16string name : {u"a,b", u"a;b"}) {
    try {
      WriteMarkElement(u"[A]", {{name, u"v"}});
      ADD_FAILURE() << ToUtf8(name);
    } catch (const HRX& e) {
      EXPECT_EQ(e.code(), E_INVALIDARG);
    }
  }
}

}  // namespace
}  // namespace QueriesProcessing
