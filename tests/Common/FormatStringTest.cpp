#include "Common/FormatString.h"

#include <gtest/gtest.h>

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
      {FormatString(u"100%% %c", u'x'), u"100% x"},
      {FormatString(u"%x %#x %o", 255, 255, 8), u"ff 0xff 10"},
      {FormatString(u"%d", true), u"1"},
      {FormatString(u"tail %"), u"tail %"},
      {FormatString(u"%s"), u"(null)"},
  };
  for (auto& c : cases) EXPECT_EQ(ToUtf8(c.actual), ToUtf8(c.expected));
}

}  // namespace
