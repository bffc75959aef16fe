#include <gtest/gtest.h>

#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/Helpers/DigestMaker.h"

namespace DigestHelpers {
namespace {

std::span<const uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::string Hex(const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const uint8_t byte : bytes) hex.append({kDigits[byte >> 4], kDigits[byte & 15]});
  return hex;
}

TEST(DigestMakerTest, KnownVectors) {
  struct Case {
    const char* what;
    DigestAlg alg;
    std::string_view key;
    std::string_view data;
    const char* hex;
    const char16_t* text;
  };
  const Case cases[] = {
      {"SHA-256 of abc", DigestAlg::Sha256, "", "abc",
       "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       u"ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0="},
      {"SHA-256 of nothing", DigestAlg::Sha256, "", "",
       "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
       u"47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU="},
      {"the plain row ignores a key", DigestAlg::Sha256, "Jefe", "abc",
       "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       u"ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0="},
      {"HMAC-SHA-256, RFC 4231 test case 2", DigestAlg::HmacSha256, "Jefe",
       "what do ya want for nothing?",
       "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843",
       u"W9zBRr9gdU5qBCQmCJV1x1oAPwidJzmDnexYuWTsOEM="},
      {"HMAC-SHA-256 with an empty key and no data", DigestAlg::HmacSha256, "", "",
       "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad",
       u"thNnmggU2ex3L5XXeMNfxf8Wl8STcVZTxscSFEKSxa0="},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const CDigestMaker maker(c.alg, Bytes(c.key));
    EXPECT_EQ(Hex(maker.MakeDigest(Bytes(c.data))), c.hex);
    EXPECT_EQ(maker.MakeDigestText(Bytes(c.data)), c.text);
    EXPECT_EQ(maker.MakeDigestText(Bytes(c.data), true), u"sha256:" + std::u16string(c.text));
  }
}

TEST(DigestMakerTest, TextIsHashedAsUtf16LittleEndianWithoutTerminator) {
  const CDigestMaker maker(DigestAlg::Sha256);
  // 'A', U+00E9, U+20AC: the bytes 41 00 E9 00 AC 20.
  EXPECT_EQ(maker.MakeDigestText(std::u16string_view(u"A\u00e9\u20ac")),
            u"2mXX4HcOkfCXT8qdOBlkqInSAA7S7ck/8CXf0qmSLo8=");
}

TEST(DigestMakerTest, AnUnknownRowIsRefused) {
  for (const uint32_t value : {2u, 0xFFFFFFFFu}) {
    try {
      CDigestMaker maker(static_cast<DigestAlg>(value));
      ADD_FAILURE() << "row " << value << " was accepted";
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), E_INVALIDARG);
    }
  }
}

}  // namespace
}  // namespace DigestHelpers
