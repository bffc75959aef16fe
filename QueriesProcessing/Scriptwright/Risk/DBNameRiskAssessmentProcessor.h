#pragma once

#include <map>
#include <string>
#include <vector>

#include "Common/Guid.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"
#include "QueriesProcessing/Scriptwright/Risk/RiskEntry.h"
#include "QueriesProcessing/Scriptwright/Risk/RiskProcedure.h"

class CDBHealth;

namespace QueriesProcessing {

// %DB_NAME_RISK_ASSESSMENT%: one call of a risk's stored procedure for each
// monitoring plan the caller may see. The command's text is copied once per
// plan that passes the filters below, in the byte order of the plans' GUIDs
// (GuidBytesLess); in each copy `alias_variables` becomes the argument list
// of that plan's call, and then `alias_risk_assessment_name` becomes the
// procedure's name over the whole text built, so that a request value
// holding that token is replaced too. The copies follow one another with
// nothing between them. No plan left: `text` becomes "".
//
// Configuration (Initialize), strings required (0x80070490):
//   required_permission         asked of "Security.PermissionsChecker"
//   alias_variables             the token of the argument list
//   alias_risk_assessment_name  the token of the procedure's name
//   MonitoringPlansCfgPath      where each plan's settings lie in the
//                               configuration server
//   top_variable                written into the risk's Top, see below
//   excluded_moids              GUID list (required): plans never reported
//   BaseRiskAssessmentProcedure children, RiskAssessmentProcedureMapping:
//     the procedures and their arguments (MakeMappingRiskName2Procedure)
//   RiskConfiguration: the risks (ReadRiskConfiguration)
// Initialize then files each monitoring plan with its database: the values
// of the children of "\Tallyvane\ManagedObjects" ("ConfigServer.Proxy",
// MaxDepth 1) are the plans' GUIDs; "DataSourceManager" GetDataSource(the
// GUID in format 0, 1) gives the node whose `db` (default "") is the
// database. A plan whose GetDataSource fails or finds nothing is passed
// over without a failure, and so is one that is not Enabled (default false)
// and, by the managed-object history (CMOHistory), was never enabled.
// A value that is no GUID fails with 0x80070057; the history's failures
// fail Initialize.
//
// ProcessNode reads the request's child named RiskAssessment (required):
// RiskAssessmentName (string, required), MonitoringPlans (GUID list), a
// child Items, and whatever attributes the procedure's arguments name. When
// the request node has an attribute Top, the RiskAssessment node's Top is set
// to `top_variable` (a string), so that a later processor writes the number.
//   1. Plans: all filed ones, narrowed by ApplyMoIdsFilter, ApplyRbac,
//      ApplyStaticFilter, in this order.
//   2. A risk without its procedure or its configuration row: ERR "Not
//      found config for risk name = <name>", 0x80070057.
//   3. "Service.DatabaseManagementGate" is asked once (CDBHealth). A plan
//      whose database is neither available nor mandatory is passed over (a
//      database the gate does not know is mandatory).
//   4. Per plan: GetEnabledDataSources, RetrieveItems, ApplyItemsFilter; no
//      item left passes the plan over. A copy of RiskAssessment gets DBName
//      (string), MonitoringPlan (GUID) and Items (string list); each
//      argument takes the copy's attribute of its name (any type, type 0
//      included), else the argument's default_value, else nothing (NULL),
//      written by WriteRiskArguments.
// Failures: 0x80070490 for a missing required item; the caller's missing
// permission, 0x80070005; a failing configuration search, permission check,
// health request or items request, its status. On a failure `text` is left
// as it was; the Top set on the request stays.
//
// Thread-safety: Initialize once; afterwards the object is read-only, and
// ProcessNode, which must run on the request's thread (the caller's token
// is its request context), keeps a request's state on its stack.
class CDBNameRiskAssessmentProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  using PlanDatabases = std::map<GUID, std::u16string, GuidBytesLess>;
  void BuildMonitoringPlanDatabases();
  // The request's MonitoringPlans, when it lists any, narrow `ids`.
  GuidSet ApplyMoIdsFilter(const VXNodePtr& risk, const GuidSet& ids) const;
  // The caller's rights: no token (a call from inside the process), `ids`;
  // else CheckAccess(required_permission): missing, WARN "Permission '<name>'
  // is missing for: <token>" and 0x80070005; limited, the GUIDs of the
  // scope's children's attribute Container (a child without one, or with an
  // empty one, is passed over; one that is no GUID fails with 0x80070057);
  // full, `ids`; any other answer, none.
  GuidSet ApplyRbac(const GuidSet& ids) const;
  // Without excluded_moids, and only plans whose reporting is enabled.
  GuidSet ApplyStaticFilter(const GuidSet& ids) const;
  // The values of the nodes under "\Tallyvane\ManagedObjects" (whole
  // subtrees) that have a child ReportingSettings with Enabled true.
  GuidSet GetEnabledRsMonitoringPlanIds() const;
  // The values of the nodes under <MonitoringPlansCfgPath>\<plan, format
  // 3>\AuditedSystems that are Enabled (default false), whose child
  // ScopeItems has a child, and whose child StateInTimeReporting is Enabled.
  GuidSet GetEnabledDataSources(const GUID& plan) const;
  // The plan's scope items for the data sources the risk applies to that
  // are enabled; none, without asking the service, when no such source is
  // left (RetrieveContainerItems). A risk without its row, 0x80070057.
  std::vector<std::u16string> RetrieveItems(const GUID& plan, const std::u16string& riskName,
                                            const GuidSet& enabledDataSources) const;
  // Only the items the request's Items child names, when it names any: by
  // each Item's ItemValue (required), or, with `useDisplayName`, by its
  // display text (ScopeItemDisplayNames) of ItemValue and ItemType (both
  // required). Exact comparison; the items keep their order.
  std::vector<std::u16string> ApplyItemsFilter(const VXNodePtr& risk,
                                               std::vector<std::u16string> items,
                                               bool useDisplayName) const;
  // The parameters of one plan's call, or a null node when the plan is
  // passed over.
  VXNodePtr PlanParameters(const VXNodePtr& risk, const GUID& plan, const std::u16string& database,
                           const RiskProcedure& procedure, const RiskEntry& entry,
                           const CDBHealth& health) const;
  // `text` once per call, with its arguments; then the procedure's name.
  std::u16string WriteCalls(const std::vector<VXNodePtr>& calls, const RiskProcedure& procedure,
                            const std::u16string& text) const;

  std::u16string aliasVariables_;
  std::u16string aliasRiskAssessmentName_;
  std::u16string monitoringPlansCfgPath_;
  std::u16string requiredPermission_;
  std::u16string topVariable_;
  GuidSet excludedMoids_;
  RiskName2Procedure riskName2Procedure_;
  RiskConfiguration riskConfiguration_;
  PlanDatabases monitoringPlanDatabases_;
};

}  // namespace QueriesProcessing
