#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %OVERVIEW_COUNTERS.DICTIONARY_FILTER_JOIN% (the class's name is spelt so):
// moves the conditions on dictionary values out of an overview statement's
// WHERE clause into table variables, one per join index, and joins them.
//
// Configuration, all strings, all required (0x80070490 from Initialize):
//   JoinAlias          the text replaced by the joins
//   VariablesAlias     the text replaced by the table variables
//   JoinTemplate       one join; "%index%" stands for the join index
//   VariablesTemplate  one table variable; "%index%" as above
//   ConditionVariable  the token of the conditions processor that writes a
//                      table variable's filter (%CONDITION%)
//
// ProcessNode, for the request:
//  1. Join indexes to skip: the JoinIndex of every node named GroupByRootEntry
//     below the request's first child named GroupByRoot (none: no skip). A
//     grouped dictionary value is joined by the grouping, not here.
//  2. Every node below the request (in tree order, depth first) whose node
//     NAME is ConditionValues and that has JoinIndex (unsigned 64-bit; a
//     value that does not read as one fails with the node library's status)
//     counts, unless its index is skipped. Each gives one join, JoinTemplate
//     with "%index%" replaced by the decimal index, so an index used twice
//     gives the join twice. By index, the table variables collect filters:
//     the filter of a node is the node itself, or its parent when that is a
//     Condition (node type) with operator "IN" or "NOT IN" (the operator is
//     then required). The first node of an index makes the variable's filter
//       Condition AND ( ConditionValues Columnn="Key" Comparator="="
//                       Value=<the node's AliasColumn, required, with its
//                       type>, <a copy of the filter> )
//     and every further node of that index adds a copy of its filter.
//  3. The counted nodes' filters are taken out of their parents (nothing is
//     pruned above them), so %CONDITION% no longer writes them.
//  4. In ascending index order, each variable's text is VariablesTemplate
//     with "%index%" replaced, run through ConditionVariable with a request
//       Query ( ConditionsRoot named Conditions ( <the filter> ) )
//     and no variable node; so "%CONDITION%" in VariablesTemplate becomes
//     the filter's predicate.
//  5. Every JoinAlias becomes the joins, every VariablesAlias the variables,
//     each joined by "\n" (empty when nothing counts).
// E.g. JoinTemplate "JOIN @F%index% AS f%index% ON ...", VariablesTemplate
// "DECLARE @F%index% ...; INSERT ... WHERE %CONDITION%" and two nodes of
// index 1 (Site = Berlin, AliasColumn "Site"): the join twice, and one
// variable whose WHERE holds ([Key] = N'Site') AND the two conditions.
//
// Failures of ConditionVariable (0x80070057 when it has no processor) pass
// through; by then the request has lost the counted conditions, so it fails
// and is not reused. The command text is only changed on success.
//
// Thread-safety: read-only after Initialize; the request belongs to the call.
class COverviewContersDictionaryFilterJoin : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // Step 1: the JoinIndex values of the GroupByRootEntry nodes below
  // `groupByRoot`; a null node gives the empty set.
  static std::unordered_set<uint64_t> GetJoinIndexesToSkip(const VXNodePtr& groupByRoot);

  // Steps 1 to 4: the joins and the table variables, each joined by "\n".
  std::pair<std::u16string, std::u16string> MakeJoinsAndTableVariables(
      const VXNodePtr& request) const;

 private:
  std::u16string joinAlias_;
  std::u16string variablesAlias_;
  std::u16string joinTemplate_;
  std::u16string variablesTemplate_;
  std::u16string conditionVariable_;
};

}  // namespace QueriesProcessing
