#pragma once

#include <string>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %OVERVIEW_COUNTERS_PROCESSOR%: the clauses of an overview statement that
// depend on whether the request groups, sorts and limits.
//
// Configuration, all strings, all required (0x80070490 from Initialize): the
// tokens AliasOrderBy, AliasClauseGroupBy, AliasSelectFields, AliasTop; the
// texts ValueOrderBy, ValueGroupBy, ValueTop, ValueSelectFieldsGroup,
// ValueSelectFields; TemplateAliasTable, the table alias of a joined
// dictionary, in which "%index%" stands for the join index.
//
// ProcessNode:
//  1. The entries of the request's GroupByRoot, then of its SortingRoot
//     (each when present), are read in ascending Order (default 0; equal
//     orders keep their child order); every entry with JoinIndex (unsigned
//     64-bit, as the dictionary filter join reads it) gets AliasTable := TemplateAliasTable with "%index%" replaced by the
//     decimal index, in place of the one it had. Each adjusted root is traced
//     at DBG as "Before afjust: " and "After afjust: " (so spelt) with its
//     text.
//  2. Then, in this order, every
//       AliasOrderBy       := ValueOrderBy when the request has SortingRoot
//       AliasClauseGroupBy := ValueGroupBy when it has GroupByRoot
//       AliasSelectFields  := ValueSelectFieldsGroup when it has GroupByRoot,
//                             else ValueSelectFields
//       AliasTop           := ValueTop when it has the attribute Top
//     and the empty text otherwise. Each replacement runs over the whole
//     text, so a value may hold a later row's token, and tokens of the
//     processors listed after this one (%GROUP_FIELDS%, %SORTING%, %TOP%).
// E.g. ValueSelectFieldsGroup "%GROUP_FIELDS%, SUM(c.[Changes])" and a
// request with GroupByRoot: AliasSelectFields becomes that text, for
// %OVERVIEW_COUNTERS.GROUP_BY_PROCESSOR% to fill.
//
// A JoinIndex that is not an unsigned number fails with the node library's
// status, leaving the entries adjusted so far; the request fails.
//
// Thread-safety: read-only after Initialize; the request belongs to the call.
class COverviewCountersProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  void AdjustGroupByRoot(const VXNodePtr& request) const;
  void AdjustOrderByRoot(const VXNodePtr& request) const;

 private:
  void AdjustRoot(const VXNodePtr& request, std::u16string_view rootName) const;

  std::u16string aliasOrderBy_;
  std::u16string aliasClauseGroupBy_;
  std::u16string aliasSelectFields_;
  std::u16string aliasTop_;
  std::u16string valueOrderBy_;
  std::u16string valueGroupBy_;
  std::u16string valueTop_;
  std::u16string valueSelectFieldsGroup_;
  std::u16string valueSelectFields_;
  std::u16string templateAliasTable_;
};

}  // namespace QueriesProcessing
