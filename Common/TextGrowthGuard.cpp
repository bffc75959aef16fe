#include "Common/TextGrowthGuard.h"

#include <algorithm>
#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"

namespace {

constexpr size_t kFloor = TextGrowthGuard::kFloorBytes / sizeof(char16_t);
constexpr size_t kCeiling = TextGrowthGuard::kCeilingBytes / sizeof(char16_t);

}  // namespace

TextGrowthGuard::TextGrowthGuard(size_t initialLength) : initial_(initialLength) {
  // Compared before multiplying, so no length can overflow the product.
  const size_t grown = initialLength >= kCeiling / kFactor ? kCeiling : initialLength * kFactor;
  limit_ = std::max(initialLength, std::clamp(grown, kFloor, kCeiling));
}

void TextGrowthGuard::Check(size_t length, std::u16string_view context) const {
  if (Allows(length)) return;
  std::u16string text = u": the text grew from " + ToTextUnsigned(initial_) + u" to more than " +
                        ToTextUnsigned(limit_) + u" characters";
  if (!context.empty()) text += u" (" + std::u16string(context) + u")";
  ThrowError(E_INVALIDARG, text);
}
