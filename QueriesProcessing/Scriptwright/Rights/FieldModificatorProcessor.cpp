#include "QueriesProcessing/Scriptwright/Rights/FieldModificatorProcessor.h"

#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"

namespace QueriesProcessing {

namespace {

constexpr int32_t kWinErrorInvalidData = 13;

void WrapInUpper(const VXNodePtr& node, std::u16string_view column) {
  std::u16string prefix;
  std::u16string alias;
  if (node.TryGetString(u"AliasTable", alias)) {
    prefix = EscapeColumnName(alias) + u".";
    node.DeleteAttribute(u"AliasTable");
  }
  node.SetString(column, u"UPPER(" + prefix + EscapeColumnName(node.GetString(column)) + u")");
  node.SetBool(u"EscapeRequired", false);
}

// A new modificator is one more row, with a handler of the same signature.
constexpr struct {
  std::u16string_view name;
  CFieldModificatorProcessor::Handler handler;
} kModificators[] = {
    {u"UPPER", &WrapInUpper},
};

// The column attribute a modificator rewrites, or empty.
std::u16string_view ColumnAttribute(const VXNodePtr& node) {
  if (node.HasAttribute(u"Columnn")) return u"Columnn";
  if (node.HasAttribute(u"Column")) return u"Column";
  return {};
}

}  // namespace

HRESULT CFieldModificatorProcessor::Initialize(const VXNodePtr&) {
  VX_LOG_SCOPE(Severity::DBG, "CFieldModificatorProcessor::Initialize");
  modificators_.clear();
  for (const auto& row : kModificators) modificators_.emplace(row.name, row.handler);
  return S_OK;
}

HRESULT CFieldModificatorProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                                std::u16string&) {
  VX_LOG_SCOPE(Severity::DBG, "CFieldModificatorProcessor::ProcessNode");
  return OperationFrame("CFieldModificatorProcessor::ProcessNode", [&] {
    if (!request) return;
    std::vector<VXNodePtr> pending{request};
    while (!pending.empty()) {
      const VXNodePtr node = std::move(pending.back());
      pending.pop_back();
      Modify(node);
      // Pushed last to first, so that they come off the stack in their order.
      for (uint32_t i = node.ChildCount(); i > 0; --i) pending.push_back(node.ChildAt(i - 1));
    }
  });
}

void CFieldModificatorProcessor::Modify(const VXNodePtr& node) const {
  const std::u16string_view column = ColumnAttribute(node);
  std::u16string name;
  if (column.empty() || !node.TryGetString(u"Modificator", name)) return;
  const auto found = modificators_.find(name);
  if (found == modificators_.end()) {
    ThrowError(HresultFromWin32(kWinErrorInvalidData), u": unknown Modificator '" + name + u"'");
  }
  found->second(node, column);
}

}  // namespace QueriesProcessing
