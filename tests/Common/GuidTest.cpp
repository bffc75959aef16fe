#include <gtest/gtest.h>

#include <vector>

#include "Common/Guid.h"
#include "Common/Text.h"

namespace {

// The binary GUID's bytes, first field little-endian, decide the order, not
// the text.
TEST(GuidTest, SetsAreOrderedByTheBinaryBytes) {
  const GuidSet ids = {
      MakeGuid(u"{00000001-0000-0000-0000-000000000000}"),
      MakeGuid(u"{01000000-0000-0000-0000-000000000000}"),
      MakeGuid(u"{00000000-0100-0000-0000-000000000000}"),
      MakeGuid(u"{00000000-0001-0000-0000-000000000000}"),
      MakeGuid(u"{00000000-0000-0000-0000-000000000001}"),
      MakeGuid(u"{00000000-0000-0000-0100-000000000000}"),
      MakeGuid(u"{00000000-0000-0000-0000-000000000000}"),
      MakeGuid(u"{00000000-0000-0000-0000-0000000000FF}"),
  };
  std::vector<std::string> texts;
  for (const GUID& id : ids) texts.push_back(ToUtf8(FormatGuid(id, 1)));
  EXPECT_EQ(texts, (std::vector<std::string>{
                       "00000000000000000000000000000000",
                       "00000000000000000000000000000001",
                       "000000000000000000000000000000FF",
                       "00000000000000000100000000000000",
                       "00000000010000000000000000000000",
                       "00000000000100000000000000000000",
                       "01000000000000000000000000000000",
                       "00000001000000000000000000000000",
                   }));
}

}  // namespace
