#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// What one configured table turns into.
struct TableInfo {
  std::u16string Alias;             // the text in the command that is replaced
  std::u16string QueryAdjustTable;  // the statement that stands first
  std::u16string QueryInsert;       // the head of one insert, up to its rows
};

// %TABLE_FILLING%: writes literal rows carried by the request into the
// statement, the members of the membership preprocessor's table-variable
// road (TableFilling children named "WhoInGroup" and "WhoNotInGroup").
//
// Configuration: children of type TableInfo, keyed by their node name, each
// with the strings Alias, QueryAdjustTable and QueryInsert (required,
// 0x80070490). Other children are ignored; of two with one name the first
// stays.
//
// Request: children of type TableFilling with TableName (string, required)
// and Values (list, required; elements as text). For each, in child order,
// every occurrence of its table's Alias becomes
//   QueryAdjustTable "\n" { QueryInsert "\n" row "," row ... ";\n" }
// with a row "(N'" + value with "'" doubled + "')", 1000 rows per insert, in
// the order of Values; no values, no inserts. A TableName without an entry
// fails with 0x80070057. Then every alias left (a table without rows in the
// request, or named twice: the first child replaced them all) becomes its
// QueryAdjustTable alone. With Alias "%WHO%", QueryAdjustTable "DECLARE @W
// TABLE (A NVARCHAR(256));", QueryInsert "INSERT INTO @W (A) VALUES" and
// Values ["a", "o'b"] the alias becomes
//   DECLARE @W TABLE (A NVARCHAR(256));\n
//   INSERT INTO @W (A) VALUES\n(N'a'),(N'o''b');\n
// Replaced text is not scanned again. A failure stops at its child: what was
// replaced before stays replaced. Reads the request only; the map is
// read-only after Initialize.
class CTableFillingProcessor : public IVariableProcessor {
 public:
  static constexpr size_t kRowsPerInsert = 1000;

  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The inserts of `values` as above, without QueryAdjustTable.
  static std::u16string InsertText(const std::u16string& queryInsert,
                                   const std::vector<std::u16string>& values);

 private:
  std::unordered_map<std::u16string, TableInfo> tables_;
};

}  // namespace QueriesProcessing
