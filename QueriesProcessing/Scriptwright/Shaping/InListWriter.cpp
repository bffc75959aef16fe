#include "QueriesProcessing/Scriptwright/Shaping/InListWriter.h"

#include <cstdint>
#include <cstring>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace QueriesProcessing {

namespace {

struct Counts {
  size_t terminators = 0;
  size_t quotes = 0;
};

Counts CountUnits(const char16_t* p, const char16_t* end) {
  Counts counts;
#ifdef __SSE2__
  const __m128i zero = _mm_setzero_si128();
  const __m128i quote = _mm_set1_epi16(u'\'');
  // 16-bit lane counters, emptied before they could overflow.
  constexpr size_t kBlocksPerFlush = 0x7FFF;
  while (end - p >= 8) {
    __m128i terminators = zero;
    __m128i quotes = zero;
    for (size_t block = 0; block < kBlocksPerFlush && end - p >= 8; ++block, p += 8) {
      const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
      terminators = _mm_sub_epi16(terminators, _mm_cmpeq_epi16(units, zero));
      quotes = _mm_sub_epi16(quotes, _mm_cmpeq_epi16(units, quote));
    }
    alignas(16) uint16_t lanes[2][8];
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes[0]), terminators);
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes[1]), quotes);
    for (int lane = 0; lane < 8; ++lane) {
      counts.terminators += lanes[0][lane];
      counts.quotes += lanes[1][lane];
    }
  }
#endif
  for (; p < end; ++p) {
    counts.terminators += *p == 0;
    counts.quotes += *p == u'\'';
  }
  return counts;
}

// The text a stop unit becomes: a terminator ends a value and opens the next
// ("',N'", or "," between numbers), a quote is doubled. Four units at most,
// stored as one 8-byte word.
struct Expansion {
  uint64_t units;
  size_t length;
};

constexpr uint64_t Pack(std::u16string_view text) {
  uint64_t word = 0;
  for (size_t i = 0; i < text.size(); ++i) word |= uint64_t{text[i]} << (16 * i);
  return word;
}

template <bool kQuote>
constexpr Expansion kNextValue = kQuote ? Expansion{Pack(u"',N'"), 4} : Expansion{Pack(u","), 1};
constexpr Expansion kDoubledQuote{Pack(u"''"), 2};

inline char16_t* Expand(char16_t* at, const Expansion& expansion) {
  std::memcpy(at, &expansion.units, sizeof expansion.units);
  return at + expansion.length;
}

template <bool kQuote>
char16_t* WriteValues(std::u16string_view units, char16_t* at) {
  if (units.empty()) return at;
  const char16_t* p = units.data();
  // The last value's terminator: the closing one behind it is not a value.
  const char16_t* const last = p + units.size() - 2;
  if constexpr (kQuote) at = Expand(at, Expansion{Pack(u"N'"), 2});
#ifdef __SSE2__
  // Blocks of 8 units: the stretches between stops are moved with 8-unit
  // stores that may run past them, each stop is written as its expansion.
  const __m128i zero = _mm_setzero_si128();
  const __m128i quote = _mm_set1_epi16(u'\'');
  for (; last - p >= 16; p += 8) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i terminators = _mm_cmpeq_epi16(block, zero);
    const __m128i stops =
        kQuote ? _mm_or_si128(terminators, _mm_cmpeq_epi16(block, quote)) : terminators;
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(stops));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), block);
    if (!mask) {
      at += 8;
      continue;
    }
    const unsigned terminatorMask = static_cast<unsigned>(_mm_movemask_epi8(terminators));
    unsigned from = 0;
    do {
      const unsigned stop = static_cast<unsigned>(__builtin_ctz(mask)) / 2;
      _mm_storeu_si128(reinterpret_cast<__m128i*>(at),
                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + from)));
      at += stop - from;
      at = Expand(at, (terminatorMask >> (2 * stop)) & 1 ? kNextValue<kQuote> : kDoubledQuote);
      from = stop + 1;
      mask &= mask - 1;
      mask &= mask - 1;
    } while (mask);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + from)));
    at += 8 - from;
  }
#endif
  for (; p < last; ++p) {
    if (*p == u'\0') {
      at = Expand(at, kNextValue<kQuote>);
    } else if (kQuote && *p == u'\'') {
      at = Expand(at, kDoubledQuote);
    } else {
      *at++ = *p;
    }
  }
  if constexpr (kQuote) *at++ = u'\'';
  return at;
}

}  // namespace

InListWriter::InListWriter(std::u16string_view units, bool quote) : units_(units), quote_(quote) {
  const Counts counts = CountUnits(units_.data(), units_.data() + units_.size());
  const size_t values = counts.terminators ? counts.terminators - 1 : 0;
  const size_t chars = units_.size() - counts.terminators;
  const size_t commas = values ? values - 1 : 0;
  size_ = chars + commas + (quote_ ? counts.quotes + 3 * values : 0);
}

char16_t* InListWriter::Write(char16_t* at) const {
  return quote_ ? WriteValues<true>(units_, at) : WriteValues<false>(units_, at);
}

}  // namespace QueriesProcessing
