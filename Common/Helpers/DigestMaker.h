#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct evp_md_st;

namespace DigestHelpers {

// The digests the system makes, by value.
enum class DigestAlg : uint32_t {
  Sha256 = 0,      // plain SHA-256
  HmacSha256 = 1,  // keyed SHA-256 (HMAC); the key is given to CDigestMaker
};

enum class DigestTextForm : uint32_t { Base64 = 0 };

// One row of the digest table.
struct DigestAlgInfo {
  DigestAlg value;
  uint32_t bits;                  // 256
  uint32_t bytes;                 // 32
  std::u16string_view label;      // "sha256", the prefix of the labelled text
  DigestTextForm textForm;        // Base64
  std::u16string_view algorithm;  // the platform's name, "SHA256"
  bool keyed;
};

// The row of `alg`; any value outside the table raises HRX 0x80070057.
const DigestAlgInfo& GetDigestAlgInfo(DigestAlg alg);

// Hashes bytes with one row of the digest table and writes the digest as
// standard Base64 without line breaks (44 characters for 32 bytes).
//
//   CDigestMaker(DigestAlg::Sha256).MakeDigestText(u"abc")
//     hashes the six bytes 61 00 62 00 63 00 (UTF-16LE, no terminator).
//   CDigestMaker(DigestAlg::Sha256).MakeDigestText(bytes, true)
//     gives "sha256:" followed by the Base64 text.
//
// The constructor raises HRX 0x80070057 for a value outside the table. The
// key is used by the keyed row only (any length, empty included) and is
// ignored by the plain row. A failure of the crypto library raises HRX
// 0x80004005 with its text.
//
// Immutable after construction: the const operations may run on several
// threads at once.
class CDigestMaker {
 public:
  explicit CDigestMaker(DigestAlg alg, std::span<const uint8_t> key = {});

  const DigestAlgInfo& Info() const { return *info_; }

  // The raw digest, Info().bytes long.
  std::vector<uint8_t> MakeDigest(std::span<const uint8_t> data) const;

  // The Base64 text of the digest, with "<label>:" in front when `labelled`.
  std::u16string MakeDigestText(std::span<const uint8_t> data, bool labelled = false) const;

  // The same over the UTF-16LE bytes of `text`: two bytes a code unit, low
  // byte first, no terminator.
  std::u16string MakeDigestText(std::u16string_view text, bool labelled = false) const;

 private:
  // Room for the digest of any row.
  using DigestBytes = std::array<uint8_t, 64>;

  // Writes the digest into `out` and returns its length.
  size_t Digest(std::span<const uint8_t> data, DigestBytes& out) const;

  const DigestAlgInfo* info_;
  std::vector<uint8_t> key_;
  // The crypto library's algorithm, looked up once: a digest that names it
  // by a constant looks it up again every time.
  std::shared_ptr<evp_md_st> md_;
};

}  // namespace DigestHelpers
