#pragma once

#include <string>
#include <vector>

#include "QueriesProcessing/Common/NodeConversions.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %CONDITION_EXTRACTOR%: moves the conditions that a node conversion
// recognises out of the request and renders them into a text of their own,
// so that %CONDITION% (which must run after it) no longer sees them.
//
// Configuration:
//   Alias                    required: the text in the command to replace
//   ResultConditionTemplate  required: the text of the result; it holds the
//                            tokens of %CONDITION% ("%CONDITION%", "%HAVING%")
//   ConditionsSeparator      default "\n": between result texts
//   NodeConversion           required child: which nodes are extracted
// A command's `variable_processor` node may override each of the four for
// its use (`NodeConversion` as a child).
//
// For one request:
//  1. A copy of the request keeps its attributes and only the nodes that the
//     conversions accept, with their `Condition` and `ConditionsRoot`
//     containers: every other node goes, and a container left without
//     children goes too, upward. Children such as `SortingRoot` or earlier
//     `Command`s go as well.
//  2. In the request itself every accepted node below it is rewritten by the
//     conversions and then removed, pruning upward in the same way; pruning
//     stops at the request, which may so lose its `Conditions` child (and
//     %CONDITION% then gives "(1=1)").
//  3. If the copy still has a child, %CONDITION% runs through the processors
//     manager with the copy as the request, no variable node and the
//     template as its text; that text replaces every Alias. Otherwise Alias
//     becomes "(1=1)". So an empty `Conditions` container, which nothing
//     removes, still gives the template filled with " (1=1) ".
// E.g. with a conversion that accepts ConditionValues whose Columnn is
// "Server", template "EXISTS (SELECT 1 FROM s WHERE %CONDITION%)" and
// Conditions AND(Who = a, Server = b): the alias gets
// "EXISTS (SELECT 1 FROM s WHERE  ( ([Server] = N'b') ) )" and the request
// keeps AND(Who = a).
//
// The conversions' rewrite lands on the removed originals, never on the copy
// that is rendered. Failures: a missing required setting fails Initialize
// with 0x80070490; failures of the %CONDITION% run (0x80070057 when that
// token has no processor) pass through, and the request has by then lost its
// extracted nodes: it fails and is not reused. The command text is only
// changed on success.
class ConditionExtractor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // Steps 1 to 3 above: the result texts (one text today), never empty.
  std::vector<std::u16string> ExtractConditions(
      const VXNodePtr& request, const NodeConversions& conversions,
      const std::u16string& resultConditionTemplate) const;

 private:
  std::u16string alias_;
  std::u16string resultConditionTemplate_;
  std::u16string conditionsSeparator_;
  NodeConversions nodeConversions_;
};

}  // namespace QueriesProcessing
