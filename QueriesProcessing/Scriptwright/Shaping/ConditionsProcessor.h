#pragma once

#include <span>
#include <string>
#include <string_view>

#include "Common/TextHash.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %CONDITION%: turns the request's condition trees into predicate text.
//
// Configuration: `ExcludeColumnBracket` (string list, required), columns that
// comparisons never bracket (SQL expressions, names bracketed already). Per
// use: `ConditionClauseAlias` (default "%CONDITION%") receives the text of the
// request child `Conditions`, `HavingClauseAlias` (default "%HAVING%") that of
// `HavingRoot`; an absent child gives "(1=1)". The WHERE clause is written
// first, then the HAVING clause into the result, so a predicate that holds
// the other token has it replaced too.
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
// The predicate is written straight into the result text, at the place of the
// token (each further occurrence gets a copy), and each IN list is sized
// before it is written. A clause is built even when its token is not in the
// text, so its failures and its rewrites of the request do not depend on the
// template.
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

  // Appends the text of one condition node and everything beneath it to
  // `out`, which may already hold text before it. Calls itself through the
  // virtual table for every child, so an override governs the whole walk.
  virtual void BuildConditionText(const VXNodePtr& condition, const VXNodePtr& request,
                                  std::u16string& out);
  // Runs once per ProcessNode before any text is built.
  virtual void BeforeConditions(const VXNodePtr& request);
  // Runs once per ProcessNode on the final command text, after both clause
  // tokens were replaced, and may change it in place. The base leaves it.
  virtual void FinishConditionText(const VXNodePtr& request, std::u16string& text);

 protected:
  void BuildComparison(const VXNodePtr& node, std::u16string_view comparator,
                       std::u16string& out) const;
  void BuildInList(const VXNodePtr& node, std::u16string_view op, std::u16string& out) const;
  void ApplyTimeOffset(const VXNodePtr& node, const VXNodePtr& request) const;
  // Whether `column` is one of `ExcludeColumnBracket`.
  bool IsExcluded(std::u16string_view column) const;

 private:
  void BuildOperator(const VXNodePtr& node, const VXNodePtr& request, std::u16string& out);
  // A ConditionValues node's comparison, its attributes read in one pass.
  void WriteComparison(const VXNodePtr& node, std::u16string& out) const;
  void WriteComparison(const VXNodePtr& node, std::u16string_view comparator,
                       std::span<const VXNodePtr::Peeked> attributes, std::u16string& out) const;
  void BuildClause(const VXNodePtr& clause, const VXNodePtr& request, std::u16string& out);
  bool WriteClause(std::u16string_view source, std::u16string_view token, const VXNodePtr& clause,
                   const VXNodePtr& request, std::u16string& out);

  TextSet excludeColumnBracket_;
};

}  // namespace QueriesProcessing
