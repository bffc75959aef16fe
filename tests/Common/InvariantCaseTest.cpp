#include <gtest/gtest.h>

#include "Common/InvariantCase.h"
#include "Common/Text.h"

namespace {

TEST(InvariantCaseTest, UpperCasesTexts) {
  struct Case {
    const char* name;
    std::u16string text, expected;
  } cases[] = {
      {"empty", u"", u""},
      {"ASCII", u"[Audit_db-01].[dbo] az AZ {}@`", u"[AUDIT_DB-01].[DBO] AZ AZ {}@`"},
      {"Latin-1", u"\u00e0\u00e9\u00f6\u00fe \u00f7\u00d7",
       u"\u00c0\u00c9\u00d6\u00de \u00f7\u00d7"},
      {"y with diaeresis leaves Latin-1", u"\u00ff", u"\u0178"},
      {"sharp s has no one-letter upper case", u"Stra\u00dfe", u"STRA\u00dfE"},
      {"micro sign", u"\u00b5", u"\u039c"},
      {"Latin Extended-A, both parities", u"\u0101\u0100\u013a\u0131\u017f",
       u"\u0100\u0100\u0139IS"},
      {"title-case digraph", u"\u01c5\u01c6", u"\u01c4\u01c4"},
      {"Greek, final sigma", u"\u03b1\u03b2\u03c2\u03c3\u0390", u"\u0391\u0392\u03a3\u03a3\u0390"},
      {"Cyrillic", u"\u0434\u0430\u043d\u043d\u044b\u0435 \u0451\u044f",
       u"\u0414\u0410\u041d\u041d\u042b\u0415 \u0401\u042f"},
      {"Georgian", u"\u10d0", u"\u1c90"},
      {"ligature with a two-letter upper case", u"\ufb00", u"\ufb00"},
      {"fullwidth", u"\uff41\uff5a", u"\uff21\uff3a"},
      {"surrogate pair of a lower-case letter", u"\U00010428x", u"\U00010428X"},
      {"lone surrogates", std::u16string{u'a', 0xD801, u'b', 0xDC28},
       std::u16string{u'A', 0xD801, u'B', 0xDC28}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(InvariantUpper(c.text)), ToUtf8(c.expected)) << c.name;
  }
}

// Every unit at once: a second pass changes nothing, surrogates stay, and the
// count of mapped units is the one the table was made with, so a damaged or
// regenerated table does not pass unnoticed.
TEST(InvariantCaseTest, WholePlane) {
  size_t mapped = 0;
  for (uint32_t u = 0; u <= 0xFFFF; ++u) {
    const auto unit = static_cast<char16_t>(u);
    const char16_t upper = InvariantUpper(unit);
    if (upper != unit) ++mapped;
    ASSERT_EQ(InvariantUpper(upper), upper) << std::hex << u;
    if (u >= 0xD800 && u <= 0xDFFF) {
      ASSERT_EQ(upper, unit) << std::hex << u;
    }
  }
  EXPECT_EQ(mapped, 1163u);
}

}  // namespace
