#include <gtest/gtest.h>

#include <limits>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"
#include "Common/TextGrowthGuard.h"

namespace {

constexpr size_t kFloor = TextGrowthGuard::kFloorBytes / 2;      // code units
constexpr size_t kCeiling = TextGrowthGuard::kCeilingBytes / 2;  // code units

TEST(TextGrowthGuardTest, Limits) {
  struct Case {
    size_t initial;
    size_t limit;
  } cases[] = {
      {0, kFloor},                                // an empty text may still take values
      {1000, kFloor},                             // 16 times is below the floor
      {kFloor / 16 + 1, (kFloor / 16 + 1) * 16},  // just above the floor: 16 times
      {1 << 20, 16 << 20},
      {kCeiling / 16, kCeiling},
      {kCeiling / 8, kCeiling},      // 16 times would pass the ceiling
      {kCeiling + 5, kCeiling + 5},  // longer already: may keep its length
      {std::numeric_limits<size_t>::max() / 2, std::numeric_limits<size_t>::max() / 2},
  };
  for (const auto& c : cases) {
    const TextGrowthGuard guard(c.initial);
    EXPECT_EQ(guard.limit(), c.limit) << c.initial;
    EXPECT_TRUE(guard.Allows(c.limit)) << c.initial;
    EXPECT_FALSE(guard.Allows(c.limit + 1)) << c.initial;
  }
}

TEST(TextGrowthGuardTest, CheckRaisesWithTheContext) {
  const TextGrowthGuard guard(215);
  EXPECT_NO_THROW(guard.Check(kFloor, u"parameter 'User'"));
  try {
    guard.Check(kFloor + 1, u"parameter 'User'");
    FAIL() << "no failure";
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_INVALIDARG);
    EXPECT_EQ(ToUtf8(FormatStatus(failure, kOmitCode | kOmitLocation)),
              "The parameter is incorrect: the text grew from 215 to more than 524288 characters "
              "(parameter 'User')");
  }
}

}  // namespace
