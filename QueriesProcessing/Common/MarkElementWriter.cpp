#include "QueriesProcessing/Common/MarkElementWriter.h"

#include <cstdint>

#include "Common/ErrorHandling.h"
#include "Common/Helpers/Base64.h"
#include "Common/Text.h"
#include "QueriesProcessing/Common/DatabaseHash.h"

namespace QueriesProcessing {

namespace {

std::u16string EncodeValue(std::u16string_view value) {
  std::vector<uint8_t> bytes;
  bytes.reserve(value.size() * 2);
  for (char16_t unit : value) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return Base64Encode(bytes);
}

void CheckName(std::u16string_view name) {
  if (name.find_first_of(u",;") == std::u16string_view::npos) return;
  ThrowError(E_INVALIDARG,
             u": a mark's column name may hold neither ',' nor ';': " + std::u16string(name));
}

}  // namespace

std::u16string WriteMarkElement(std::u16string_view dbKey, const std::vector<MarkColumn>& columns) {
  std::u16string element = ToTextUnsigned(DatabaseHash(dbKey));
  element += u':';
  for (size_t i = 0; i < columns.size(); ++i) {
    const auto& [name, value] = columns[i];
    CheckName(name);
    if (i > 0) element += u',';
    element.append(name).append(1, u';').append(EncodeValue(value));
  }
  return element;
}

}  // namespace QueriesProcessing
