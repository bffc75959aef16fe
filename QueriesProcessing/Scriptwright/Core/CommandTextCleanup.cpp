#include "QueriesProcessing/Scriptwright/Core/CommandTextCleanup.h"

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define SCRIPTWRIGHT_CLEANUP_SSSE3 1
#endif

namespace QueriesProcessing {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

// The tail of the work, unit by unit. `odd` is true when the run of blanks
// that reaches `p` has held an odd number of spaces so far.
char16_t* CleanUnits(const char16_t* p, const char16_t* end, char16_t* out, bool odd) {
  for (; p < end; ++p) {
    const char16_t c = *p;
    if (c == u'\t') continue;
    if (c == u' ') {
      odd = !odd;
      continue;
    }
    if (odd) *out++ = u' ';
    odd = false;
    *out++ = c;
  }
  if (odd) *out++ = u' ';
  return out;
}

#ifdef SCRIPTWRIGHT_CLEANUP_SSSE3

// For each 8-bit mask of units to keep, the byte shuffle that moves those
// units, in order, to the front of a 16-byte block.
struct Shuffles {
  alignas(16) uint8_t masks[256][16];
};

constexpr Shuffles MakeShuffles() {
  Shuffles shuffles{};
  for (int keep = 0; keep < 256; ++keep) {
    int at = 0;
    for (int unit = 0; unit < 8; ++unit) {
      if (!(keep >> unit & 1)) continue;
      shuffles.masks[keep][at++] = static_cast<uint8_t>(2 * unit);
      shuffles.masks[keep][at++] = static_cast<uint8_t>(2 * unit + 1);
    }
    while (at < 16) shuffles.masks[keep][at++] = 0x80;  // zero; never counted
  }
  return shuffles;
}

constexpr Shuffles kShuffles = MakeShuffles();

// Units written to the stack before they are handed to the result.
constexpr size_t kBatch = 2048;

// For one block of 16 units, bit i standing for unit i: which units to keep.
// Every unit that is not blank stays; of a run of blanks, an odd number of
// spaces is kept as one space at the run's last unit (tabs are turned into
// spaces first, so that unit is a space whatever it was). The parity of the
// spaces of each run comes from a segmented prefix XOR, the runs being cut at
// the units that are not blank; `odd` carries a run's parity into the block.
struct BlockPlan {
  unsigned keep;
  bool odd;  // the run at the block's end goes on, with an odd count
};

BlockPlan PlanBlock(unsigned spaces, unsigned blanks, bool nextIsBlank, bool odd) {
  const unsigned solid = ~blanks & 0xFFFF;
  const unsigned runEnds = blanks & ~((blanks >> 1) | (nextIsBlank ? 0x8000u : 0u));
  unsigned parity = spaces;
  unsigned cut = solid;
  for (unsigned step = 1; step < 16; step <<= 1) {
    parity ^= (parity << step) & ~cut;
    cut |= cut << step;
  }
  // Units before the block's first solid one continue the run coming in.
  parity = (parity ^ (odd ? ~cut : 0u)) & 0xFFFF;
  return {solid | (runEnds & parity), nextIsBlank && (parity >> 15 & 1)};
}

__attribute__((target("ssse3,popcnt"))) char16_t* StoreKept(char16_t* out, __m128i units,
                                                            unsigned keep) {
  const auto* mask = reinterpret_cast<const __m128i*>(kShuffles.masks[keep]);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(units, _mm_load_si128(mask)));
  return out + __builtin_popcount(keep);
}

// Cleans the text block by block into a batch on the stack, handed to `out`
// whenever it fills: the result is written once, without zero-filling it
// first, and the shuffled stores may run past the kept units.
__attribute__((target("ssse3,popcnt"))) void CleanBlocks(std::u16string_view text,
                                                         std::u16string& out) {
  // Room for a full batch, plus the widest block (16 units, then 8 more of
  // overrun) or the tail (15 units and a space).
  char16_t batch[kBatch + 32];
  char16_t* at = batch;
  const char16_t* p = text.data();
  const char16_t* const end = p + text.size();
  const __m128i space = _mm_set1_epi16(u' ');
  const __m128i tab = _mm_set1_epi16(u'\t');
  bool odd = false;
  for (; end - p >= 16; p += 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
    const __m128i lowSpaces = _mm_cmpeq_epi16(low, space);
    const __m128i highSpaces = _mm_cmpeq_epi16(high, space);
    const __m128i lowTabs = _mm_cmpeq_epi16(low, tab);
    const __m128i highTabs = _mm_cmpeq_epi16(high, tab);
    const unsigned spaces = _mm_movemask_epi8(_mm_packs_epi16(lowSpaces, highSpaces));
    const unsigned tabs = _mm_movemask_epi8(_mm_packs_epi16(lowTabs, highTabs));
    const bool nextIsBlank = end - p > 16 && IsBlank(p[16]);
    const BlockPlan plan = PlanBlock(spaces, spaces | tabs, nextIsBlank, odd);
    odd = plan.odd;
    const __m128i lowUnits =
        _mm_or_si128(_mm_andnot_si128(lowTabs, low), _mm_and_si128(lowTabs, space));
    const __m128i highUnits =
        _mm_or_si128(_mm_andnot_si128(highTabs, high), _mm_and_si128(highTabs, space));
    at = StoreKept(at, lowUnits, plan.keep & 0xFF);
    at = StoreKept(at, highUnits, plan.keep >> 8);
    if (at - batch >= static_cast<ptrdiff_t>(kBatch)) {
      out.append(batch, static_cast<size_t>(at - batch));
      at = batch;
    }
  }
  at = CleanUnits(p, end, at, odd);
  out.append(batch, static_cast<size_t>(at - batch));
}

bool HasShuffles() {
  static const bool has = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt");
  return has;
}

#endif  // SCRIPTWRIGHT_CLEANUP_SSSE3

}  // namespace

std::u16string CleanCommandText(std::u16string_view text) {
  std::u16string out;
#ifdef SCRIPTWRIGHT_CLEANUP_SSSE3
  if (HasShuffles()) {
    out.reserve(text.size());
    CleanBlocks(text, out);
    return out;
  }
#endif
  // The result is never longer than the text.
  out.resize(text.size());
  const char16_t* begin = text.data();
  out.resize(
      static_cast<size_t>(CleanUnits(begin, begin + text.size(), out.data(), false) - out.data()));
  return out;
}

}  // namespace QueriesProcessing
