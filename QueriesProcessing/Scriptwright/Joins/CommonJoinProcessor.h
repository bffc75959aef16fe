#pragma once

#include <string>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %COMMON_JOIN_PROCESSOR%: JOIN clauses declared whole in the command's
// `variable_processor` node.
//
// Configuration: `JoinClauseAlias` (default "%JOIN_CLAUSE%"), the text that
// receives the clauses, and `JoinClauseTemplate` (required), a format with
// three %s filled with the join type, the joined table and the constraint.
//
// Per use, each child of node type `JoinEntry` of the variable node gives one
// clause, in child order; other children are skipped:
//   JoinType                 default "INNER"
//   JoinedTable              required: 0x80070490 when missing
//   PlainJoinConstraint      default empty; written as it stands, and may hold
//                            tokens that later processors of the command fill
//   JoinConstraintCondition  child, read only when PlainJoinConstraint is
//                            empty: a copy of it runs through %CONDITION% as
//                            a request of its own over the empty constraint.
//                            That text holds no token, so the constraint stays
//                            empty; a bad condition tree fails the request
//                            with the conditions processor's status, and
//                            %CONDITION% must be configured (else 0x80070057).
//                            The copy keeps the catalogue's node untouched.
// An entry with neither a constraint nor that child fails the request with
// 0x80070057: there is no condition to walk.
//
// The clauses, joined by "\n", replace every JoinClauseAlias; with no entry
// the alias becomes empty. Without a variable node the text stays as it is.
// With JoinClauseTemplate "%s JOIN %s ON %s":
//   <variable_processor processor_alias="%COMMON_JOIN_PROCESSOR%">
//     <JoinEntry JoinType="LEFT" JoinedTable="[dbo].[Servers] AS s"
//                PlainJoinConstraint="s.[Id] = r.[ServerId]"/>
//   </variable_processor>
// gives "LEFT JOIN [dbo].[Servers] AS s ON s.[Id] = r.[ServerId]".
// On failure the command text is left as it was.
class CCommonJoinProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string BuildClause(const VXNodePtr& entry) const;

  std::u16string joinClauseAlias_;
  std::u16string joinClauseTemplate_;
};

}  // namespace QueriesProcessing
