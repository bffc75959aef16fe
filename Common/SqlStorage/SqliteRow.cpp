#include "Common/SqlStorage/SqliteRow.h"

#include <sqlite3.h>

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "Common/Guid.h"

namespace {

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const char x = a[i] >= 'a' && a[i] <= 'z' ? static_cast<char>(a[i] - 'a' + 'A') : a[i];
    if (x != b[i]) return false;
  }
  return true;
}

bool IsDeclaredGuid(sqlite3_stmt* statement, int column) {
  const char* declared = sqlite3_column_decltype(statement, column);
  if (!declared) return false;
  return EqualsIgnoringCase(declared, "GUID") || EqualsIgnoringCase(declared, "UNIQUEIDENTIFIER");
}

std::u16string Text(sqlite3_stmt* statement, int column) {
  const auto* text = static_cast<const char16_t*>(sqlite3_column_text16(statement, column));
  const int bytes = sqlite3_column_bytes16(statement, column);
  if (!text) return {};
  return std::u16string(text, static_cast<size_t>(bytes) / sizeof(char16_t));
}

std::optional<GUID> BlobGuid(sqlite3_stmt* statement, int column) {
  const void* blob = sqlite3_column_blob(statement, column);
  if (!blob || sqlite3_column_bytes(statement, column) != static_cast<int>(sizeof(GUID))) {
    return std::nullopt;
  }
  GUID guid;
  std::memcpy(&guid, blob, sizeof guid);
  return guid;
}

std::u16string BlobHex(sqlite3_stmt* statement, int column) {
  static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  const auto* blob = static_cast<const unsigned char*>(sqlite3_column_blob(statement, column));
  const int bytes = sqlite3_column_bytes(statement, column);
  std::u16string text = u"0x";
  text.reserve(2 + 2 * static_cast<size_t>(bytes));
  for (int i = 0; i < bytes; ++i) {
    text += kDigits[blob[i] >> 4];
    text += kDigits[blob[i] & 0xF];
  }
  return text;
}

bool WrittenAsGuid(std::u16string_view text) {
  return text.size() == 38 && text.front() == u'{' && text.back() == u'}';
}

void SetColumn(const VXNodePtr& row, std::u16string_view name, sqlite3_stmt* statement,
               int column) {
  const int type = sqlite3_column_type(statement, column);
  if (type == SQLITE_NULL) return row.SetAttribute(name, VXN_EMPTY, nullptr, 0);
  if (type == SQLITE_INTEGER) return row.SetInt64(name, sqlite3_column_int64(statement, column));
  const bool declaredGuid = IsDeclaredGuid(statement, column);
  if (type == SQLITE_BLOB) {
    const std::optional<GUID> guid = declaredGuid ? BlobGuid(statement, column) : std::nullopt;
    return guid ? row.SetGuid(name, *guid) : row.SetString(name, BlobHex(statement, column));
  }
  const std::u16string text = Text(statement, column);
  if (type == SQLITE_TEXT && (declaredGuid || WrittenAsGuid(text))) {
    if (const std::optional<GUID> guid = ParseGuid(text)) return row.SetGuid(name, *guid);
  }
  row.SetString(name, text);
}

}  // namespace

VXNodePtr ReadRow(sqlite3_stmt* statement) {
  VXNodePtr row = VXNodePtr::Create(u"Row");
  const int columns = sqlite3_column_count(statement);
  for (int column = 0; column < columns; ++column) {
    const auto* name = static_cast<const char16_t*>(sqlite3_column_name16(statement, column));
    SetColumn(row, name ? std::u16string_view(name) : std::u16string_view(), statement, column);
  }
  return row;
}
