#include "QueriesProcessing/Scriptwright/Joins/CommonJoinProcessor.h"

#include <vector>

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

namespace QueriesProcessing {

namespace {

// Walks the entry's condition tree through %CONDITION% over `constraint`.
void RunConstraintCondition(const VXNodePtr& entry, std::u16string& constraint) {
  const VXNodePtr condition = entry.GetChild(u"JoinConstraintCondition");
  if (!condition) {
    ThrowError(E_INVALIDARG, u": " + entry.Describe() +
                                 u" has neither PlainJoinConstraint nor JoinConstraintCondition");
  }
  // The conditions processor may rewrite values in the tree it walks; the
  // catalogue's node is shared by every request.
  VXNodePtr walked = condition.Clone(VXNodePtr::kWholeTree);
  CProcessorsManager::Instance().ProcessVariable(walked, VXNodePtr(), u"%CONDITION%", constraint);
}

}  // namespace

HRESULT CCommonJoinProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CCommonJoinProcessor::Initialize");
  return OperationFrame("CCommonJoinProcessor::Initialize", [&] {
    joinClauseAlias_ = config.GetString(u"JoinClauseAlias", u"%JOIN_CLAUSE%");
    joinClauseTemplate_ = config.GetString(u"JoinClauseTemplate");
  });
}

HRESULT CCommonJoinProcessor::ProcessNode(VXNodePtr&, const VXNodePtr& variable,
                                          std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CCommonJoinProcessor::ProcessNode");
  return OperationFrame("CCommonJoinProcessor::ProcessNode", [&] {
    VX_LOG(Severity::DBG2, u"Command before processing: " << text);
    if (variable) {
      std::vector<std::u16string> clauses;
      variable.ForEachChild([&](const VXNodePtr& child) {
        if (child.GetType() == u"JoinEntry") clauses.push_back(BuildClause(child));
      });
      ReplaceAll(text, joinClauseAlias_, JoinStrings(clauses, u"\n"));
    }
    VX_LOG(Severity::DBG2, u"Command after processing: " << text);
  });
}

std::u16string CCommonJoinProcessor::BuildClause(const VXNodePtr& entry) const {
  const std::u16string joinType = entry.GetString(u"JoinType", u"INNER");
  const std::u16string joinedTable = entry.GetString(u"JoinedTable");
  std::u16string constraint = entry.GetString(u"PlainJoinConstraint", u"");
  if (constraint.empty()) RunConstraintCondition(entry, constraint);
  return FormatString(joinClauseTemplate_, joinType, joinedTable, constraint);
}

}  // namespace QueriesProcessing
