#include "Common/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(ReplaceAllTest, ReplacesEveryOccurrenceWithoutRescanning) {
  struct Case {
    std::u16string text, token, replacement, expected;
    size_t count;
  } cases[] = {
      {u"%X%", u"%X%", u"a%X%b", u"a%X%b", 1},
      {u"%X%%X%", u"%X%", u"%X%%X%", u"%X%%X%%X%%X%", 2},
      {u"abc", u"", u"zz", u"abc", 0},
      {u"abc", u"x", u"zz", u"abc", 0},
      {u"aaa", u"aa", u"b", u"ba", 1},
      {u"SELECT %TOP% * FROM t %TOP%", u"%TOP%", u"TOP 10", u"SELECT TOP 10 * FROM t TOP 10", 2},
      {u"%A%", u"%A%", u"", u"", 1},
      {u"%a%", u"%A%", u"x", u"%a%", 0},
      // Units whose bytes look like '%' (0x25) must not confuse the scan.
      {u"\u2525%X%\u0125%X\u2525", u"%X%", u"!", u"\u2525!\u0125%X\u2525", 1},
      {u"\u0125\u2525", u"\u2525", u"#", u"\u0125#", 1},
      {u"ab%X", u"%X%", u"!", u"ab%X", 0},
  };
  for (auto& c : cases) {
    std::u16string text = c.text;
    EXPECT_EQ(ReplaceAll(text, c.token, c.replacement), c.count) << ToUtf8(c.text);
    EXPECT_EQ(text, c.expected) << ToUtf8(c.text);
  }
}

TEST(Utf8Test, RoundTripsAndReplacesMalformedInput) {
  const std::u16string text = u"a\u00e9\u4e2d\U0001F600z";
  EXPECT_EQ(ToUtf16(ToUtf8(text)), text);
  EXPECT_EQ(ToUtf16("\xC3\xA9"), u"\u00e9");
  EXPECT_EQ(ToUtf16("a\xFFz"), u"a\uFFFDz");
  EXPECT_EQ(ToUtf16("\xC0\xAF"), u"\uFFFD");          // overlong
  EXPECT_EQ(ToUtf16("\xED\xA0\x80"), u"\uFFFD");      // encoded surrogate
  EXPECT_EQ(ToUtf8(std::u16string(1, char16_t(0xD800))), "\xEF\xBF\xBD");
}

}  // namespace
