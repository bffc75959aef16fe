#include "QueriesProcessing/Scriptwright/Membership/TableFillingProcessor.h"

#include <algorithm>

#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "Common/TextBuilder.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kRowOpen = u"(N'";
constexpr std::u16string_view kRowClose = u"')";
constexpr std::u16string_view kStatementEnd = u";\n";

// The exact length of InsertText, so that it is written into one allocation.
size_t InsertSize(size_t headSize, const std::vector<std::u16string>& values) {
  const size_t statements =
      (values.size() + CTableFillingProcessor::kRowsPerInsert - 1) /
      CTableFillingProcessor::kRowsPerInsert;
  size_t size = statements * (headSize + 1 + kStatementEnd.size());
  for (const std::u16string& value : values) {
    size += kRowOpen.size() + EscapedStringValueSize(value) + kRowClose.size() + 1;
  }
  return size - statements;  // one comma fewer than rows in each statement
}

}  // namespace

HRESULT CTableFillingProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CTableFillingProcessor::Initialize");
  return OperationFrame("CTableFillingProcessor::Initialize", [&] {
    VX_LOG(Severity::DBG, config);
    tables_.clear();
    for (uint32_t i = 0, count = config.ChildCount(); i < count; ++i) {
      const VXNodePtr child = config.ChildAt(i);
      if (child.TypeView() != u"TableInfo") continue;
      TableInfo info{child.GetString(u"Alias"), child.GetString(u"QueryAdjustTable"),
                     child.GetString(u"QueryInsert")};
      tables_.try_emplace(child.GetName(), std::move(info));
    }
  });
}

std::u16string CTableFillingProcessor::InsertText(const std::u16string& queryInsert,
                                                  const std::vector<std::u16string>& values) {
  std::u16string text;
  if (values.empty()) return text;
  text.resize(InsertSize(queryInsert.size(), values));
  char16_t* at = text.data();
  for (size_t first = 0; first < values.size(); first += kRowsPerInsert) {
    at = WriteText(at, queryInsert);
    *at++ = u'\n';
    const size_t end = std::min(values.size(), first + kRowsPerInsert);
    for (size_t i = first; i < end; ++i) {
      if (i != first) *at++ = u',';
      at = WriteText(at, kRowOpen);
      at = WriteEscapedStringValue(at, values[i]);
      at = WriteText(at, kRowClose);
    }
    at = WriteText(at, kStatementEnd);
  }
  return text;
}

HRESULT CTableFillingProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                            std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CTableFillingProcessor::ProcessNode");
  return OperationFrame("CTableFillingProcessor::ProcessNode", [&] {
    std::vector<std::u16string> values;
    for (uint32_t i = 0, count = request.ChildCount(); i < count; ++i) {
      const VXNodePtr child = request.ChildAt(i);
      if (child.TypeView() != u"TableFilling") continue;
      const std::u16string name = child.GetString(u"TableName");
      const auto table = tables_.find(name);
      if (table == tables_.end()) {
        ThrowError(E_INVALIDARG, u": no table '" + name + u"' is configured");
      }
      child.GetStringList(u"Values", true, values);
      const TableInfo& info = table->second;
      ReplaceAll(text, info.Alias,
                 info.QueryAdjustTable + u"\n" + InsertText(info.QueryInsert, values));
    }
    for (const auto& [name, info] : tables_) ReplaceAll(text, info.Alias, info.QueryAdjustTable);
  });
}

}  // namespace QueriesProcessing
