#pragma once

#include <string>
#include <unordered_set>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %CONDITION%: turns the request's condition trees into predicate text.
//
// Configuration: `ExcludeColumnBracket` (string list, required), columns that
// comparisons never bracket (SQL expressions, names bracketed already). Per
// use: `ConditionClauseAlias` (default "%CONDITION%") receives the text of the
// request child `Conditions`, `HavingClauseAlias` (default "%HAVING%") that of
// `HavingRoot`; an absent child gives "(1=1)".
//
// Condition nodes, by node type:
//   ConditionsRoot       its children's texts, adjacent; none: " (1=1) "
//   Condition            `operator` AND / OR (children joined, none: "1=1"),
//                        IN / NOT IN (first child is the list node),
//                        NOT (first child negated); other operators: ""
//   ConditionValues      " ([alias].[Columnn] <Comparator> N'<Value>') "
//   ConditionTimeValues  the same, after the request's DateTimePart and
//                        DateTimeOffset wrapped Value in DATEADD(...)
//   ConditionBool        " (1=1) " or " (2=1) "
//   anything else        ""
// e.g. AND over (When >= o'x, alias t) and (Id NOT IN 1,2) gives
//   " ( ([t].[When] >= N'o''x')  AND  ([Id] NOT IN (1,2)) ) "
//
// A missing `operator`, `Columnn`, needed `Value` or `Values` fails with
// 0x80070490 and leaves the text as it was. The time rewrite of a
// ConditionTimeValues stays in the request tree.
//
// Derived processors replace the walk through the virtual operations below
// and inherit ProcessNode.
class CConditionsProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The text of one condition node and everything beneath it.
  virtual std::u16string BuildConditionText(const VXNodePtr& condition, const VXNodePtr& request);
  // Runs once per ProcessNode before any text is built.
  virtual void BeforeConditions(const VXNodePtr& request);
  // The final command text, after both clause tokens were replaced.
  virtual std::u16string FinishConditionText(const VXNodePtr& request, const std::u16string& text);

 protected:
  std::u16string BuildComparison(const VXNodePtr& node, const std::u16string& comparator) const;
  std::u16string BuildInList(const VXNodePtr& node, const std::u16string& op) const;
  void ApplyTimeOffset(const VXNodePtr& node, const VXNodePtr& request) const;

 private:
  std::u16string BuildOperator(const VXNodePtr& node, const VXNodePtr& request);

  std::unordered_set<std::u16string> excludeColumnBracket_;
};

}  // namespace QueriesProcessing
