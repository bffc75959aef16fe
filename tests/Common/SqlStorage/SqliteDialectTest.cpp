#include <gtest/gtest.h>

#include <string>

#include "Common/ErrorHandling.h"
#include "Common/SqlStorage/SqliteDialect.h"
#include "Common/Text.h"

namespace {

TEST(SqliteDialectTest, RewritesOnlyWhatSQLiteReadsOtherwise) {
  struct Case {
    std::u16string in;
    std::string out;
  };
  const Case cases[] = {
      {u"VALUES (N'a'),(n'b')", "VALUES ('a'),('b')"},
      {u"IN (N'{1}', N'{2}')", "IN ('{1}', '{2}')"},
      // N glued to a word is part of it; inside literals, names and comments
      // nothing is a prefix
      {u"SELECT COLUMN'x', AN'y'", "SELECT COLUMN'x', AN'y'"},
      {u"'N''x''' \"N'\" `N'` -- N'x'\nN'y' /* N'z' */",
       "'N''x''' \"N'\" `N'` -- N'x'\n'y' /* N'z' */"},
      {std::u16string(u"N'a\0b'", 6), "'a'||char(0)||'b'"},
      {std::u16string(u"'\0'", 3), "''||char(0)||''"},
      {std::u16string(u"-- c\0d\nSELECT 1 /* \0 */", 23), "-- cd\nSELECT 1 /*  */"},
      {u"[plain name] [a]]b] [x`y]]]", "[plain name] `a]b` `x``y]`"},
      {u"[unterminated", "[unterminated"},
      {u"'unterminated", "'unterminated"},
      {u"N'", "'"},
      {u"\u00e9 \U0001F600", "\xC3\xA9 \xF0\x9F\x98\x80"},
      {std::u16string(1, char16_t(0xD800)) + u"x", "\xEF\xBF\xBDx"},
      {u"", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(ToUtf8(c.in));
    EXPECT_EQ(ToSqliteText(c.in), c.out);
  }
}

TEST(SqliteDialectTest, RefusesNulWhereNoReadingKeepsIt) {
  for (const std::u16string& in : {std::u16string(u"SELECT\0 1", 9), std::u16string(u"\"a\0\"", 4),
                                   std::u16string(u"[a\0]", 4), std::u16string(u"[a]]\0]", 6)}) {
    try {
      ToSqliteText(in);
      ADD_FAILURE() << "accepted " << ToUtf8(in);
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), E_INVALIDARG);
    }
  }
}

}  // namespace
