#include "Common/Helpers/DigestMaker.h"

#include <bit>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "Common/ErrorHandling.h"
#include "Common/Helpers/Base64.h"
#include "Common/Text.h"

namespace DigestHelpers {

namespace {

constexpr DigestAlgInfo kTable[] = {
    {DigestAlg::Sha256, 256, 32, u"sha256", DigestTextForm::Base64, u"SHA256", false},
    {DigestAlg::HmacSha256, 256, 32, u"sha256", DigestTextForm::Base64, u"SHA256", true},
};

[[noreturn]] void ThrowCryptoFailure(std::u16string_view operation) {
  char text[256] = {};
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  ERR_clear_error();
  ThrowError(E_FAIL, u": " + std::u16string(operation) + u": " + ToUtf16(text));
}

// The bytes of the text as the platform keeps it in memory, so that a digest
// made here equals one made over the same text elsewhere in the system. On a
// little-endian machine they are the text's own bytes.
std::span<const uint8_t> Utf16LeBytes(std::u16string_view text, std::vector<uint8_t>& storage) {
  if constexpr (std::endian::native == std::endian::little) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size() * sizeof(char16_t)};
  } else {
    storage.reserve(text.size() * 2);
    for (const char16_t unit : text) {
      storage.push_back(static_cast<uint8_t>(unit & 0xFF));
      storage.push_back(static_cast<uint8_t>(unit >> 8));
    }
    return storage;
  }
}

// The crypto library reads nothing from an empty input but takes a null
// pointer for an error in some of its paths.
const uint8_t* NonNull(std::span<const uint8_t> bytes) {
  static const uint8_t kNothing = 0;
  return bytes.empty() ? &kNothing : bytes.data();
}

}  // namespace

const DigestAlgInfo& GetDigestAlgInfo(DigestAlg alg) {
  for (const auto& row : kTable) {
    if (row.value == alg) return row;
  }
  ThrowError(E_INVALIDARG,
             u": unknown digest algorithm " + ToTextUnsigned(static_cast<uint32_t>(alg)));
}

CDigestMaker::CDigestMaker(DigestAlg alg, std::span<const uint8_t> key)
    : info_(&GetDigestAlgInfo(alg)) {
  if (info_->keyed) key_.assign(key.begin(), key.end());
  EVP_MD* md = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  if (!md) ThrowCryptoFailure(u"EVP_MD_fetch");
  md_.reset(md, EVP_MD_free);
}

size_t CDigestMaker::Digest(std::span<const uint8_t> data, DigestBytes& out) const {
  static_assert(std::tuple_size_v<DigestBytes> >= EVP_MAX_MD_SIZE);
  unsigned int size = 0;
  const uint8_t* bytes = NonNull(data);
  if (info_->keyed) {
    if (!HMAC(md_.get(), NonNull(key_), static_cast<int>(key_.size()), bytes, data.size(),
              out.data(), &size)) {
      ThrowCryptoFailure(u"HMAC");
    }
  } else if (!EVP_Digest(bytes, data.size(), out.data(), &size, md_.get(), nullptr)) {
    ThrowCryptoFailure(u"EVP_Digest");
  }
  return size;
}

std::vector<uint8_t> CDigestMaker::MakeDigest(std::span<const uint8_t> data) const {
  DigestBytes digest;
  const size_t size = Digest(data, digest);
  return std::vector<uint8_t>(digest.begin(), digest.begin() + static_cast<ptrdiff_t>(size));
}

std::u16string CDigestMaker::MakeDigestText(std::span<const uint8_t> data, bool labelled) const {
  DigestBytes digest;
  const size_t size = Digest(data, digest);
  std::u16string text = Base64Encode(std::span<const uint8_t>(digest.data(), size));
  if (!labelled) return text;
  std::u16string result;
  result.reserve(info_->label.size() + 1 + text.size());
  result.append(info_->label).append(u":").append(text);
  return result;
}

std::u16string CDigestMaker::MakeDigestText(std::u16string_view text, bool labelled) const {
  std::vector<uint8_t> storage;
  return MakeDigestText(Utf16LeBytes(text, storage), labelled);
}

}  // namespace DigestHelpers
