#include "Common/Helpers/Base64.h"

#include <array>
#include <string>

#include <openssl/evp.h>

#include "Common/ErrorHandling.h"

namespace {

constexpr HRESULT kInvalidData = static_cast<HRESULT>(0x8007000D);

bool IsAlphabet(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'+' ||
         c == u'/';
}

// EVP_DecodeBlock skips blanks and accepts '=' inside the text; a strict
// reader checks the shape itself first and counts the padding it must drop.
size_t CheckShape(std::u16string_view text) {
  if (text.size() % 4 != 0) ThrowError(kInvalidData, u": the text is no Base64");
  size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == u'=') ++padding;
  for (size_t i = 0; i < text.size() - padding; ++i) {
    if (!IsAlphabet(text[i])) ThrowError(kInvalidData, u": the text is no Base64");
  }
  return padding;
}

}  // namespace

std::u16string Base64Encode(std::span<const uint8_t> bytes) {
  // Digests and short values, the common case, are encoded on the stack.
  std::array<unsigned char, 128> small;
  std::string large;
  const size_t length = 4 * ((bytes.size() + 2) / 3) + 1;
  unsigned char* encoded = small.data();
  if (length > small.size()) {
    large.resize(length);
    encoded = reinterpret_cast<unsigned char*>(large.data());
  }
  const int written = EVP_EncodeBlock(encoded, bytes.data(), static_cast<int>(bytes.size()));
  return std::u16string(encoded, encoded + written);
}

std::vector<uint8_t> Base64Decode(std::u16string_view text) {
  const size_t padding = CheckShape(text);
  std::string ascii(text.begin(), text.end());
  std::vector<uint8_t> bytes(3 * (text.size() / 4));
  const int written = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(ascii.data()),
                                      static_cast<int>(ascii.size()));
  if (written < 0) ThrowError(kInvalidData, u": the text is no Base64");
  bytes.resize(static_cast<size_t>(written) - padding);
  return bytes;
}
