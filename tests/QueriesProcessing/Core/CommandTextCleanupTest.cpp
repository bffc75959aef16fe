#include "QueriesProcessing/Scriptwright/Core/CommandTextCleanup.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "Common/Text.h"

namespace QueriesProcessing {
namespace {

// The clean-up as it is defined: drop the tabs, then delete "  " from the
// start again and again, searching on from the same place.
std::u16string Reference(std::u16string_view text) {
  std::u16string out;
  for (char16_t c : text) {
    if (c != u'\t') out += c;
  }
  for (size_t at = out.find(u"  "); at != std::u16string::npos; at = out.find(u"  ", at)) {
    out.erase(at, 2);
  }
  return out;
}

// Texts of every length around the block sizes the clean-up reads at once,
// so that runs of blanks start, end and carry over at every place of a
// block, and the tail is short or empty.
TEST(CommandTextCleanupTest, AgreesWithTheDefinitionAcrossBlocks) {
  constexpr char16_t kUnits[] = {u' ', u' ', u' ', u'\t', u'a', u'\n', u'[', 0x4E2D};
  uint32_t state = 12345;
  const auto next = [&] {
    state = state * 1103515245u + 12345u;
    return state >> 16;
  };
  for (size_t length = 0; length <= 80; ++length) {
    for (int round = 0; round < 200; ++round) {
      std::u16string text;
      for (size_t i = 0; i < length; ++i) text += kUnits[next() % std::size(kUnits)];
      ASSERT_EQ(ToUtf8(CleanCommandText(text)), ToUtf8(Reference(text))) << ToUtf8(text);
    }
  }
}

TEST(CommandTextCleanupTest, LongRunsAndLongTexts) {
  struct Case {
    std::u16string text;
  } cases[] = {
      {std::u16string(33, u' ') + u"x"},                  // an odd run over three blocks
      {u"x" + std::u16string(32, u' ')},                  // an even run to the very end
      {std::u16string(31, u' ') + u"\t" + u"x"},          // a tab inside the run
      {std::u16string(16, u'\t') + u" " + u"x"},          // a block of tabs
      {u"SELECT" + std::u16string(15, u' ') + u"[RID]"},  // a run that ends at a block's end
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(CleanCommandText(c.text)), ToUtf8(Reference(c.text))) << c.text.size();
  }
  std::u16string large;
  while (large.size() < 100000) large += u"SELECT     [RID],\t\t   [When]    \n        FROM  t  ";
  EXPECT_EQ(CleanCommandText(large), Reference(large));
}

}  // namespace
}  // namespace QueriesProcessing
