#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Text.h"

namespace {

TEST(FormatStringTest, PrintfSubset) {
  const void* pointer = reinterpret_cast<const void*>(uintptr_t{0x12ab});
  struct Case {
    std::u16string actual, expected;
  } cases[] = {
      {FormatString(u"0x%08X", 0x80070057u), u"0x80070057"},
      {FormatString(u"%d|%5d|%-5d|%05d", -3, 42, 42, 42), u"-3|   42|42   |00042"},
      {FormatString(u"%u", -1), u"4294967295"},
      {FormatString(u"%I64d.%03I64d", int64_t{12}, int64_t{7}), u"12.007"},
      {FormatString(u"%I64u", uint64_t{18446744073709551615u}), u"18446744073709551615"},
      {FormatString(u"%s and %s", u"wide", "utf8"), u"wide and utf8"},
      {FormatString(u"%-4.4s|", u"DBG"), u"DBG |"},
      {FormatString(u"%-4.4s|", u"LONGER"), u"LONG|"},
      {FormatString(u"%.*s:%-*u|", 3, u"abcdef", 6, 12u), u"abc:12    |"},
      {FormatString(u"%*s|", 4, u""), u"    |"},
      {FormatString(u"VXNode[0x%p]", pointer), u"VXNode[0x00000000000012AB]"},
      {FormatString(u"%#p|%#20p|%-#20p|", pointer, pointer, pointer),
       u"0x00000000000012AB|  0x00000000000012AB|0x00000000000012AB  |"},
      {FormatString(u"100%% %c", u'x'), u"100% x"},
      {FormatString(u"%x %#x %o", 255, 255, 8), u"ff 0xff 10"},
      {FormatString(u"%d", true), u"1"},
      {FormatString(u"tail %"), u"tail %"},
      {FormatString(u"%s"), u"(null)"},
  };
  for (auto& c : cases) EXPECT_EQ(ToUtf8(c.actual), ToUtf8(c.expected));
}

// A format from configuration must fail cleanly, never overflow or allocate
// without bound: every hostile width and precision gives 0x80070057.
TEST(FormatStringTest, WidthsAndPrecisionsAreBounded) {
  const std::u16string max(kMaxFormatWidth - 1, u' ');
  struct Case {
    std::function<std::u16string()> format;
    std::string expected;  // "fail" for 0x80070057
  } cases[] = {
      {[] { return FormatString(u"%-2147483648d", 1); }, "fail"},
      {[] { return FormatString(u"%2147483648d", 1); }, "fail"},
      {[] { return FormatString(u"%999999999d", 1); }, "fail"},
      {[] { return FormatString(u"%4097d", 1); }, "fail"},
      {[] { return FormatString(u"%0999999999x", 1); }, "fail"},
      {[] { return FormatString(u"%99999999999999999999999999999999s", u"a"); }, "fail"},
      {[] { return FormatString(u"%.4097s", u"a"); }, "fail"},
      {[] { return FormatString(u"%.99999999999u", 1u); }, "fail"},
      {[] { return FormatString(u"%5.4097d", 1); }, "fail"},
      {[] { return FormatString(u"%*d", 4097, 1); }, "fail"},
      {[] { return FormatString(u"%*d", -4097, 1); }, "fail"},
      {[] { return FormatString(u"%*d", std::numeric_limits<int64_t>::min(), 1); }, "fail"},
      {[] { return FormatString(u"%*d", std::numeric_limits<int32_t>::min(), 1); }, "fail"},
      {[] { return FormatString(u"%*d", std::numeric_limits<uint64_t>::max(), 1); }, "fail"},
      {[] { return FormatString(u"%*d", u"text", 1); }, "fail"},
      {[] { return FormatString(u"%.*s", 4097, u"a"); }, "fail"},
      {[] { return FormatString(u"%.*s", -4097, u"a"); }, "fail"},
      {[] { return FormatString(u"%*d|", -3, 7); }, "7  |"},  // negative: left-justified
      {[] { return FormatString(u"%-*d|", -3, 7); }, "7  |"},
      {[] { return FormatString(u"%*d|", 3u, 7); }, "  7|"},
      {[] { return FormatString(u"%.*s|", -1, u"abc"); }, "abc|"},  // negative: no precision
      {[] { return FormatString(u"%.*s|", 0, u"abc"); }, "|"},
      {[] { return FormatString(u"%*d|"); }, "0|"},  // missing arguments count as 0
      {[] { return FormatString(u"%4096d", 7); }, ToUtf8(max) + "7"},
      {[] { return FormatString(u"%*d", -4096, 7); }, "7" + ToUtf8(max)},
      {[] { return FormatString(u"%.4096d", 7).substr(4090); }, "000007"},
      {[] { return FormatString(u"%04096.4096x", 255).substr(4090); }, "0000ff"},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    try {
      EXPECT_EQ(ToUtf8(cases[i].format()), cases[i].expected) << "case " << i;
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), E_INVALIDARG) << "case " << i;
      EXPECT_EQ(cases[i].expected, "fail") << "case " << i;
    }
  }
}

TEST(FormatStringTest, TheFailureQuotesTheDirective) {
  auto text = [](std::u16string_view format) {
    try {
      FormatString(format, 1);
    } catch (const HRX& failure) {
      return ToUtf8(FormatStatus(failure, kOmitCode | kOmitLocation));
    }
    return std::string("no failure");
  };
  EXPECT_EQ(text(u"TOP (%-2147483648d) x"),
            "The parameter is incorrect: a width or precision beyond 4096 in the format directive "
            "'%-2147483648d'");
  EXPECT_EQ(text(u"%.*s"), "no failure");
  EXPECT_EQ(
      text(u"%" + std::u16string(100, u'9') + u"d"),
      "The parameter is incorrect: a width or precision beyond 4096 in the format directive '%" +
          std::string(39, '9') + "...'");
}

}  // namespace
