// `scriptwright mark`: what it prints is what the library reads back.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Common/Text.h"
#include "Host/MarkJob.h"
#include "QueriesProcessing/Common/ContinuationMark.h"

namespace {

using QueriesProcessing::CContinuationMark;
using QueriesProcessing::MarkEntry;

// What the library finds for `dbKey` in a continuous request that carries
// `elements` as its Continuation_Mark.
MarkEntry ReadBack(const std::vector<std::u16string>& elements, std::u16string_view dbKey) {
  const VXNodePtr request = VXNodePtr::Create(u"Query");
  request.SetBool(u"Continuous", true);
  request.SetStringList(u"Continuation_Mark", elements);
  return CContinuationMark(request).GetMarkForDB(dbKey);
}

// The printed line, without its line break.
std::u16string Printed(const MarkOptions& options) {
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(RunMarkJob(options, out, err), 0) << err.str();
  EXPECT_EQ(err.str(), "");
  const std::string text = out.str();
  EXPECT_EQ(text.back(), '\n');
  return ToUtf16(text.substr(0, text.size() - 1));
}

TEST(MarkJobTest, TheLibraryReadsBackWhatMarkPrints) {
  struct Case {
    std::string db;
    std::vector<std::string> columns;
    std::u16string lookup;  // the key the library looks the database up by
    MarkEntry expected;
  };
  const Case cases[] = {
      {"Audit_Files", {"RID=1042"}, u"[AUDIT_FILES]", {{u"RID", u"1042"}}},
      {"Audit_Files", {"RID=1042"}, u"[audit_files]", {{u"RID", u"1042"}}},
      {"audit_files",
       {"When=2026-03-01 10:00:00", "RID=7"},
       u"[Audit_Files]",
       {{u"When", u"2026-03-01 10:00:00"}, {u"RID", u"7"}}},
      // A value keeps "=", ",", ";" and any text; an empty value is a value.
      {"Audit",
       {"Who=a=b,c;d", "Name=Łódź ÿ 日本", "Empty=", "RID=1"},
       u"[AUDIT]",
       {{u"Who", u"a=b,c;d"}, {u"Name", u"Łódź ÿ 日本"}, {u"Empty", u""}, {u"RID", u"1"}}},
      // A name's "]" is doubled in the key, as the library doubles it.
      {"Odd]Name", {"RID=3"}, u"[odd]]name]", {{u"RID", u"3"}}},
      // The first of a repeated column counts, as the library reads it.
      {"Audit", {"RID=1", "RID=2"}, u"[AUDIT]", {{u"RID", u"1"}}},
      // No columns: the database's first page.
      {"Audit", {}, u"[AUDIT]", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.db + " " + (c.columns.empty() ? "" : c.columns.front()));
    const std::u16string element = Printed({c.db, c.columns});
    EXPECT_EQ(element, MakeMarkElement({c.db, c.columns}));
    EXPECT_EQ(ReadBack({element}, c.lookup), c.expected);
    EXPECT_EQ(ReadBack({element}, u"[OTHER]"), MarkEntry());
  }
}

TEST(MarkJobTest, MarksOfSeveralDatabasesStandSideBySide) {
  const std::u16string files = MakeMarkElement({"Audit_Files", {"RID=10"}});
  const std::u16string mail = MakeMarkElement({"Audit_Mail", {"RID=20"}});
  EXPECT_EQ(files.substr(0, files.find(u':')) + u":", MakeMarkElement({"AUDIT_FILES", {}}));
  EXPECT_EQ(ReadBack({files, mail}, u"[Audit_Files]"), (MarkEntry{{u"RID", u"10"}}));
  EXPECT_EQ(ReadBack({files, mail}, u"[Audit_Mail]"), (MarkEntry{{u"RID", u"20"}}));
  EXPECT_EQ(DatabaseKey(u"Audit]x"), u"[AUDIT]]X]");
}

// The example of docs/cli.md, byte for byte.
TEST(MarkJobTest, PrintsTheDocumentedElement) {
  EXPECT_EQ(Printed({"audit_FILES", {"RID=1042", "When=2026-03-01 10:00:00"}}),
            u"16229041500841814948:RID;MQAwADQAMgA=,When;"
            u"MgAwADIANgAtADAAMwAtADAAMQAgADEAMAA6ADAAMAA6ADAAMAA=");
}

TEST(MarkJobTest, RefusesColumnsTheLibraryCouldNotReadBack) {
  const char* columns[] = {"RID", "=5", "Bad,Name=1", "Bad;Name=1"};
  for (const char* column : columns) {
    SCOPED_TRACE(column);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunMarkJob({"Audit", {"RID=1", column}}, out, err), 1);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(err.str().rfind("mark: 0x80070057 ", 0), 0u) << err.str();
  }
}

}  // namespace
