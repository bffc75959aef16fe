#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %FIELD_MODIFICATOR_PROCESSOR%: wraps condition columns of the request in an
// SQL function, for %CONDITION% (listed after it) to compare on, e.g. the
// upper-cased column. Reads no configuration and never touches the text.
//
// Walks the whole request, each node before its children, the request node
// first. A node is rewritten when it has `Columnn`, or else `Column` (the
// first of the two that exists is the one rewritten), and a `Modificator`
// (one of type 0 counts as absent). Modificators, matched exactly:
//   UPPER   col := "UPPER(" + [AliasTable] + "." + [col] + ")", both names
//           escaped by EscapeColumnName, the alias part only when the node
//           has `AliasTable` (type 0 counts as absent), which is then
//           deleted; `EscapeRequired` := false, so that %CONDITION% takes the
//           column as it stands.
//   Columnn "Who", AliasTable "SubQuery", Modificator "UPPER"
//     -> Columnn "UPPER([SubQuery].[Who])", no AliasTable, EscapeRequired false
// `Modificator` stays on the node, so a second run wraps again: templates list
// this token at most once per command. Any other `Modificator` ("upper"
// included) fails with 0x8007000D; nodes rewritten before it stay rewritten.
// A node without either column attribute is left alone whatever its
// `Modificator`.
//
// The walk keeps its own stack, so a deep request costs heap, not call depth.
// Configuration only after Initialize; the request tree is changed in place
// and must not be read by another thread meanwhile.
class CFieldModificatorProcessor : public IVariableProcessor {
 public:
  // Rewrites the column attribute named `column` of `node`.
  using Handler = void (*)(const VXNodePtr& node, std::u16string_view column);

  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  void Modify(const VXNodePtr& node) const;

  std::unordered_map<std::u16string, Handler> modificators_;
};

}  // namespace QueriesProcessing
