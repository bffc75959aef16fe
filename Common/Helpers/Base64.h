#pragma once

// Standard Base64 (RFC 4648 alphabet, '=' padding, no line breaks) over
// OpenSSL's block coder.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// "AQID" for {1, 2, 3}. The empty input gives the empty text.
std::u16string Base64Encode(std::span<const uint8_t> bytes);

// The bytes of a Base64 text. Raises HRX 0x8007000D when the text is no Base64
// (a character outside the alphabet, a length not a multiple of 4, padding
// anywhere but at the end). The empty text gives no bytes.
std::vector<uint8_t> Base64Decode(std::u16string_view text);
