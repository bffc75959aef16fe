#include "QueriesProcessing/Common/DatabaseHash.h"

#include "Common/InvariantCase.h"

namespace QueriesProcessing {

namespace {

constexpr uint64_t kOffsetBasis = 0xcbf29ce484222325ull;
constexpr uint64_t kPrime = 0x100000001b3ull;

uint64_t Mix(uint64_t hash, uint8_t byte) { return (hash ^ byte) * kPrime; }

}  // namespace

uint64_t DatabaseHash(std::u16string_view dbKey) {
  uint64_t hash = kOffsetBasis;
  for (char16_t unit : dbKey) {
    const char16_t upper = InvariantUpper(unit);
    hash = Mix(hash, static_cast<uint8_t>(upper & 0xFF));
    hash = Mix(hash, static_cast<uint8_t>(upper >> 8));
  }
  return hash;
}

}  // namespace QueriesProcessing
