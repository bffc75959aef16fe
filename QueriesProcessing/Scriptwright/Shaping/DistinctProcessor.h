#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %DISTINCT%: the column lists of the templates that page through distinct
// sort values, from the request's sort entries (`SortingRoot`, required), in
// `Order` sequence and without the RID entry. With sort columns a and b:
//
//   %DISTINCT_FIELD%             "  [a], [b]"
//   %DISTINCT_CM_FIELD%          "  @a, @b"
//   %DISTINCT_TABLE_FIELD%       "[a] nvarchar(64) COLLATE database_default NULL,[b] int  NULL "
//   %DISTINCT_DECLARE_CM_FIELD%  "  @a nvarchar(64), @b int"  (What_Action adds ", @What_ActionInt int = 0")
//   %DISTINCT_CM_FIELD_INS%      "@a@b"  (What_Action writes @What_ActionInt)
//
// Configuration: `DistinctEntry` children with `Name`, `Type` (the SQL type)
// and `RequiredCollate`, all required; the first of a name stands. A sort
// column without an entry fails with 0x80070057 when a token that needs its
// type is in the text.
class CDistinctProcessor : public IVariableProcessor {
 public:
  CDistinctProcessor();

  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  struct Entry {
    std::u16string type;
    bool requiredCollate = false;
  };
  using Handler = std::u16string (CDistinctProcessor::*)(const std::vector<VXNodePtr>&) const;

  const Entry& Find(const std::u16string& column) const;
  std::u16string BuildDistinctField(const std::vector<VXNodePtr>& entries) const;
  std::u16string BuildDistinctCmField(const std::vector<VXNodePtr>& entries) const;
  std::u16string BuildDistinctTableField(const std::vector<VXNodePtr>& entries) const;
  std::u16string BuildDistinctDeclareCmField(const std::vector<VXNodePtr>& entries) const;
  std::u16string BuildDistinctCmFieldIns(const std::vector<VXNodePtr>& entries) const;

  std::unordered_map<std::u16string, Handler> handlers_;
  std::unordered_map<std::u16string, Entry> entries_;
};

}  // namespace QueriesProcessing
