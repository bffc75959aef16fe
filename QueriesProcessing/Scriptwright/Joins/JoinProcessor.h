#pragma once

#include <string>
#include <vector>

#include "QueriesProcessing/Common/NodeConversions.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %JOIN_PROCESSOR%: one numbered JOIN per request node that asks for it, so
// that a request can filter or sort on a value kept in another table, each
// occurrence under a table alias of its own.
//
// Configuration: `Alias` (required), the text that receives the joins;
// `JoinTemplate` (required), the text of one join, holding "%index%"; child
// `NodeConversion` (optional, see NodeConversions), which decides the nodes
// that take part and rewrites them. A command's `variable_processor` node may
// override each of the three for its use (`NodeConversion` as a child);
// what it lacks comes from the configuration.
//
// Every node below the request (never the request itself) that the
// conversions accept and that has `JoinIndex` (read as a signed 32-bit
// integer; a value the node library cannot read so fails with its status)
// gives one join: the template with "%index%" replaced by the index in
// decimal. The node is then rewritten by the conversions, and "%index%" is
// replaced in each of its string attributes (its children are left alone;
// attributes of other types have no text that could hold the token and keep
// their value and type). Nodes the conversions accept that lack `JoinIndex`
// stay unconverted.
//
// The joins, in ascending index and, for equal indexes, in tree order (depth
// first, a node before its children), joined by "\n", replace every Alias;
// without joins the alias becomes empty. With JoinTemplate
// "LEFT JOIN [dbo].[Servers] AS s%index% ON s%index%.[Id] = r.[ServerId]" and
// a ConditionValues with JoinIndex 2 and Columnn "s%index%.[Name]":
//   "LEFT JOIN [dbo].[Servers] AS s2 ON s2.[Id] = r.[ServerId]",
// and the condition's Columnn becomes "s2.[Name]".
//
// The request tree is changed in place; on failure the nodes walked so far
// stay rewritten (the request fails) and the command text is left as it was.
class CJoinProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The join texts in ascending JoinIndex order; rewrites the joined nodes of
  // `request` as told above.
  std::vector<std::u16string> MakeJoinsAndAdjustQuery(const VXNodePtr& request,
                                                      const NodeConversions& conversions,
                                                      const std::u16string& joinTemplate) const;

 private:
  std::u16string alias_;
  std::u16string joinTemplate_;
  NodeConversions nodeConversions_;
};

}  // namespace QueriesProcessing
