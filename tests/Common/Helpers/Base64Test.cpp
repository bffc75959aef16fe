#include "Common/Helpers/Base64.h"

#include <gtest/gtest.h>

#include "Common/ErrorHandling.h"

namespace {

std::vector<uint8_t> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(Base64Test, RoundTripsTheRfcVectors) {
  const std::pair<std::string_view, std::u16string_view> cases[] = {
      {"", u""},         {"f", u"Zg=="},       {"fo", u"Zm8="},         {"foo", u"Zm9v"},
      {"foob", u"Zm9vYg=="}, {"fooba", u"Zm9vYmE="}, {"foobar", u"Zm9vYmFy"},
  };
  for (const auto& [plain, encoded] : cases) {
    EXPECT_EQ(Base64Encode(Bytes(plain)), encoded) << plain;
    EXPECT_EQ(Base64Decode(encoded), Bytes(plain)) << plain;
  }
}

TEST(Base64Test, RefusesWhatIsNoBase64) {
  for (std::u16string_view bad : {u"Zg=", u"Zg==Zg==", u"Z===", u"Zm 9v", u"Zm9\u00e9", u"Zm9v\n", u"====", u"Zm-v"}) {
    try {
      Base64Decode(bad);
      ADD_FAILURE() << "accepted " << bad.size() << " units";
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), static_cast<HRESULT>(0x8007000D));
    }
  }
}

}  // namespace
