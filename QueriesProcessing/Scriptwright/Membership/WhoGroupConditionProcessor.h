#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipKind.h"

namespace QueriesProcessing {

// What one kind of membership turns into.
struct WhoGroupFilter {
  std::u16string columnName;  // the column the rewritten condition tests
  std::u16string comparator;  // the comparator the rewritten condition uses
  // The text replaced in the command, and the name of the request attribute
  // that carries the finished join.
  std::u16string joinAlias;
  std::u16string joinValue;               // the join, "%TableName%" still open
  std::u16string attributeWithTableName;  // request attribute with the table
};

// %WHO_GROUP_CONDITION%: turns each group condition on the membership column
// into an ordinary ConditionValues test on a column of the session's member
// table, and puts the join that brings that table in place of its alias.
//
// Configuration (all strings, all required, 0x80070490 when missing):
//   ColumnNameAdditionalFilter  the Columnn that marks a group condition as ours
//   AliasJoin                   alias pattern; "%TableName%" becomes the name
//                               of each Filters child
//   ValueJoin                   join pattern with "%AliasJoinTable%",
//                               "%ColumnName%" and "%TableName%"
//   children of type Filters, one per kind, each with ColumnName, Comparator,
//   MatchingComparator ("InGroup" or "NotInGroup", else 0x80070057),
//   AttributeWithTableName and AliasJoinTable. Children of other types are
//   skipped; of two Filters with the same MatchingComparator the first stays.
// With AliasJoin "%WHO_GROUP_CONDITION_%TableName%%" a child named InGroup
// gets the alias "%WHO_GROUP_CONDITION_InGroup%".
//
// ProcessNode, when the request has Conditions: every ConditionGroupMembership
// reached through ConditionsRoot and Condition nodes whose Columnn is
// ColumnNameAdditionalFilter becomes ConditionValues with the record's
// ColumnName and Comparator and without Values. A group condition on another
// column stays as it is. Its Comparator must be "InGroup" or "NotInGroup"
// with a record ("not supported group operation", 0x80070057). For each kind
// seen, the request attribute named by the record's joinAlias is set to
// ValueJoin with "%TableName%" replaced by the request's attribute named
// AttributeWithTableName (required).
// Then, with or without Conditions, every alias in the text is replaced by
// the request's attribute of that name, or by nothing: a later command of the
// same request gets the same joins although its conditions are rewritten
// already, and the alias of a kind the request lacks vanishes. Replaced text
// is not scanned again.
//
// The request tree is changed in place; on failure the nodes rewritten so far
// stay rewritten and the text is left as it was.
class CWhoGroupConditionProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  using Kinds = std::unordered_set<MembershipKind>;

  void AddFilter(const VXNodePtr& child, const std::u16string& aliasJoin,
                 const std::u16string& valueJoin);
  void AdjustConditions(const VXNodePtr& node, Kinds& kinds) const;
  void AdjustOperands(const VXNodePtr& node, Kinds& kinds) const;
  void AdjustGroupCondition(const VXNodePtr& node, MembershipKind& state, Kinds& kinds) const;
  void SetJoins(const VXNodePtr& request, const Kinds& kinds) const;

  std::unordered_map<std::u16string, MembershipKind> comparators_;
  std::unordered_map<MembershipKind, WhoGroupFilter> filters_;
  std::u16string additionalFilterColumn_;
};

}  // namespace QueriesProcessing
