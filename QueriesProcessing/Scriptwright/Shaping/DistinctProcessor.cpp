#include "QueriesProcessing/Scriptwright/Shaping/DistinctProcessor.h"

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kWhatAction = u"What_Action";

// The sort columns other than the row id.
std::vector<std::u16string> Columns(const std::vector<VXNodePtr>& entries) {
  std::vector<std::u16string> columns;
  for (const auto& entry : entries) {
    std::u16string column = entry.GetString(u"Column");
    if (column != u"RID") columns.push_back(std::move(column));
  }
  return columns;
}

std::u16string OverwriteFirstComma(std::u16string text) {
  const size_t comma = text.find(u',');
  if (comma != std::u16string::npos) text[comma] = u' ';
  return text;
}

}  // namespace

CDistinctProcessor::CDistinctProcessor()
    : handlers_{{u"%DISTINCT_FIELD%", &CDistinctProcessor::BuildDistinctField},
                {u"%DISTINCT_CM_FIELD%", &CDistinctProcessor::BuildDistinctCmField},
                {u"%DISTINCT_TABLE_FIELD%", &CDistinctProcessor::BuildDistinctTableField},
                {u"%DISTINCT_DECLARE_CM_FIELD%", &CDistinctProcessor::BuildDistinctDeclareCmField},
                {u"%DISTINCT_CM_FIELD_INS%", &CDistinctProcessor::BuildDistinctCmFieldIns}} {}

HRESULT CDistinctProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CDistinctProcessor::Initialize");
  return OperationFrame("CDistinctProcessor::Initialize", [&] {
    config.ForEachChild([&](const VXNodePtr& child) {
      if (child.GetType() != u"DistinctEntry") return;
      Entry entry{child.GetString(u"Type"), child.GetBool(u"RequiredCollate")};
      entries_.emplace(child.GetString(u"Name"), std::move(entry));
    });
  });
}

HRESULT CDistinctProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CDistinctProcessor::ProcessNode");
  return OperationFrame("CDistinctProcessor::ProcessNode", [&] {
    const auto entries = GetOrderedChildren(request.GetChild(u"SortingRoot", true), u"Order", 0);
    std::u16string result = text;
    for (const auto& [token, handler] : handlers_) {
      if (result.find(token) != std::u16string::npos) ReplaceAll(result, token, (this->*handler)(entries));
    }
    text.swap(result);
  });
}

const CDistinctProcessor::Entry& CDistinctProcessor::Find(const std::u16string& column) const {
  auto it = entries_.find(column);
  if (it == entries_.end()) ThrowError(E_INVALIDARG, u": no DistinctEntry for the sort column '" + column + u"'");
  return it->second;
}

std::u16string CDistinctProcessor::BuildDistinctField(const std::vector<VXNodePtr>& entries) const {
  std::u16string text;
  for (const auto& column : Columns(entries)) text += FormatString(u", [%s]", column);
  return OverwriteFirstComma(std::move(text));
}

std::u16string CDistinctProcessor::BuildDistinctCmField(const std::vector<VXNodePtr>& entries) const {
  std::u16string text;
  for (const auto& column : Columns(entries)) {
    Find(column);
    text += FormatString(u", @%s", column);
  }
  return OverwriteFirstComma(std::move(text));
}

std::u16string CDistinctProcessor::BuildDistinctTableField(const std::vector<VXNodePtr>& entries) const {
  std::u16string text;
  for (const auto& column : Columns(entries)) {
    const Entry& entry = Find(column);
    text += FormatString(u"[%s] %s %s NULL,", column, entry.type,
                         entry.requiredCollate ? u"COLLATE database_default" : u"");
  }
  const size_t comma = text.rfind(u',');
  if (comma != std::u16string::npos) text[comma] = u' ';
  return text;
}

std::u16string CDistinctProcessor::BuildDistinctDeclareCmField(const std::vector<VXNodePtr>& entries) const {
  std::u16string text;
  for (const auto& column : Columns(entries)) {
    text += FormatString(u", @%s %s", column, Find(column).type);
    if (column == kWhatAction) text += FormatString(u", @%s %s", column + u"Int", u"int = 0");
  }
  return OverwriteFirstComma(std::move(text));
}

std::u16string CDistinctProcessor::BuildDistinctCmFieldIns(const std::vector<VXNodePtr>& entries) const {
  std::u16string text;
  for (const auto& column : Columns(entries)) {
    text += FormatString(u"@%s", column == kWhatAction ? column + u"Int" : column);
  }
  return OverwriteFirstComma(std::move(text));
}

}  // namespace QueriesProcessing
