#include "QueriesProcessing/Scriptwright/Risk/DBNameRiskAssessmentProcessor.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_set>

#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/SubsystemHelpers/DBHealth.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Rights/CallerToken.h"
#include "QueriesProcessing/Scriptwright/Risk/ContainerItems.h"
#include "QueriesProcessing/Scriptwright/Risk/GuidAttributes.h"
#include "QueriesProcessing/Scriptwright/Risk/RiskArguments.h"
#include "QueriesProcessing/Scriptwright/Risk/ScopeItemDisplayNames.h"
#include "QueriesProcessing/Scriptwright/Targeting/ConfigServerClient.h"
#include "QueriesProcessing/Scriptwright/Targeting/MOHistory.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kConfigServerName[] = u"ConfigServer.Proxy";
constexpr char16_t kCheckerName[] = u"Security.PermissionsChecker";
constexpr char16_t kManagedObjects[] = u"\\Tallyvane\\ManagedObjects";
constexpr int32_t kValuesOnly = 1;
constexpr int32_t kWholeSubtrees = -1;
constexpr uint32_t kWithChildren = 1;
constexpr int32_t kWinErrorAccessDenied = 5;

std::vector<VXNodePtr> FindAll(std::u16string_view path, int32_t maxDepth) {
  const auto proxy = GetNamedInstance<IConfigNodes>(kConfigServerName);
  return ConfigServerClient::FindAllNodes(*proxy.get(),
                                          ConfigServerClient::MakePathFilter(path, true, maxDepth),
                                          ConfigServerClient::kAllNodes);
}

bool ChildEnabled(const VXNodePtr& node, std::u16string_view child) {
  const VXNodePtr found = node.GetChild(child);
  return found && found.GetBool(u"Enabled", false);
}

// Path components joined by "\", without doubling one that ends the first.
std::u16string JoinConfigPath(std::u16string_view base, std::u16string_view plan,
                              std::u16string_view leaf) {
  std::u16string path(base);
  if (path.empty() || path.back() != u'\\') path += u'\\';
  path.append(plan).append(u"\\").append(leaf);
  return path;
}

GuidSet ScopeContainers(const VXNodePtr& scope) {
  GuidSet containers;
  const uint32_t count = scope ? scope.ChildCount() : 0;
  for (uint32_t i = 0; i < count; ++i) {
    const VXNodePtr child = scope.ChildAt(i);
    const std::optional<AttributeText> container = child.FindString(u"Container");
    if (container && !container->empty()) containers.insert(ReadGuidText(*container));
  }
  return containers;
}

void CopyAttribute(const VXNodePtr& from, std::u16string_view name, const VXNodePtr& to,
                   std::u16string_view as) {
  uint32_t type = VXN_EMPTY;
  const auto value = from.PeekRaw(name, type);
  to.SetAttribute(as, type, value->data(), static_cast<uint32_t>(value->size()));
}

VXNodePtr ArgumentParameters(const RiskProcedure& procedure, const VXNodePtr& values) {
  const VXNodePtr parameters = VXNodePtr::Create(u"");
  for (const VXNodePtr& argument : procedure.Variables) {
    const std::u16string name = argument.GetValue();
    if (values.HasAttribute(name)) {
      CopyAttribute(values, name, parameters, name);
    } else if (argument.HasAttribute(u"default_value")) {
      CopyAttribute(argument, u"default_value", parameters, name);
    }
  }
  return parameters;
}

}  // namespace

HRESULT CDBNameRiskAssessmentProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CDBNameRiskAssessmentProcessor::Initialize");
  return OperationFrame("CDBNameRiskAssessmentProcessor::Initialize", [&] {
    VX_LOG(Severity::DBG, u"Configuration:" << config);
    requiredPermission_ = config.GetString(u"required_permission");
    aliasVariables_ = config.GetString(u"alias_variables");
    aliasRiskAssessmentName_ = config.GetString(u"alias_risk_assessment_name");
    monitoringPlansCfgPath_ = config.GetString(u"MonitoringPlansCfgPath");
    topVariable_ = config.GetString(u"top_variable");
    excludedMoids_ = ReadGuidSet(config, u"excluded_moids", true);
    riskName2Procedure_ = MakeMappingRiskName2Procedure(config);
    riskConfiguration_ = ReadRiskConfiguration(config);
    BuildMonitoringPlanDatabases();
  });
}

void CDBNameRiskAssessmentProcessor::BuildMonitoringPlanDatabases() {
  const std::vector<VXNodePtr> plans = FindAll(kManagedObjects, kValuesOnly);
  CMOHistory history;
  history.Initialize();
  const auto dataSources = GetNamedInstance<IDataSources>(u"DataSourceManager");
  for (const VXNodePtr& node : plans) {
    const GUID plan = ReadGuidText(node.GetValue());
    const std::u16string id = FormatGuid(plan, 0);
    VXNodePtr dataSource;
    // Unlike the database name processor's table, one plan that cannot be
    // read leaves the others reportable.
    if (Failed(dataSources->GetDataSource(id, &dataSource, kWithChildren)) || !dataSource) {
      VX_LOG(Severity::DBG, u"Not found DS with id:" << id);
      continue;
    }
    if (!dataSource.GetBool(u"Enabled", false) && !history.WasEverEnabled(id)) continue;
    monitoringPlanDatabases_.try_emplace(plan, dataSource.GetString(u"db", u""));
  }
}

HRESULT CDBNameRiskAssessmentProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&,
                                                    std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CDBNameRiskAssessmentProcessor::ProcessNode");
  return OperationFrame("CDBNameRiskAssessmentProcessor::ProcessNode", [&] {
    const VXNodePtr risk = request.GetChild(u"RiskAssessment", true);
    if (request.HasAttribute(u"Top")) risk.SetString(u"Top", topVariable_);

    GuidSet plans;
    for (const auto& [plan, database] : monitoringPlanDatabases_) plans.insert(plans.end(), plan);
    plans = ApplyStaticFilter(ApplyRbac(ApplyMoIdsFilter(risk, plans)));

    const std::u16string riskName = risk.GetString(u"RiskAssessmentName");
    const auto procedure = riskName2Procedure_.find(riskName);
    const auto entry = riskConfiguration_.find(riskName);
    if (procedure == riskName2Procedure_.end() || entry == riskConfiguration_.end()) {
      VX_LOG(Severity::ERR, u"Not found config for risk name = " << riskName);
      ThrowError(E_INVALIDARG, u": risk '" + riskName +
                                   u"' needs both a procedure mapping and a RiskConfiguration row");
    }

    CDBHealth health;
    health.LoadHealthInfo();
    std::vector<VXNodePtr> calls;  // the parameters of each plan's call
    for (const GUID& plan : plans) {
      const auto database = monitoringPlanDatabases_.find(plan);
      if (database == monitoringPlanDatabases_.end()) continue;
      VXNodePtr parameters =
          PlanParameters(risk, plan, database->second, *procedure->second, entry->second, health);
      if (parameters) calls.push_back(std::move(parameters));
    }
    text = WriteCalls(calls, *procedure->second, text);
  });
}

VXNodePtr CDBNameRiskAssessmentProcessor::PlanParameters(const VXNodePtr& risk, const GUID& plan,
                                                         const std::u16string& database,
                                                         const RiskProcedure& procedure,
                                                         const RiskEntry& entry,
                                                         const CDBHealth& health) const {
  bool available = false;
  bool mandatory = true;
  health.GetDBInfoByName(database, &available, &mandatory);
  if (!available && !mandatory) return VXNodePtr();

  const VXNodePtr values = risk.Clone();
  values.SetString(u"DBName", database);
  values.SetGuid(u"MonitoringPlan", plan);
  std::vector<std::u16string> items =
      RetrieveItems(plan, entry.RiskName, GetEnabledDataSources(plan));
  if (items.empty()) return VXNodePtr();
  items = ApplyItemsFilter(risk, std::move(items), entry.UseItemDisplayName);
  if (items.empty()) return VXNodePtr();
  values.SetStringList(u"Items", items);
  return ArgumentParameters(procedure, values);
}

std::u16string CDBNameRiskAssessmentProcessor::WriteCalls(const std::vector<VXNodePtr>& calls,
                                                          const RiskProcedure& procedure,
                                                          const std::u16string& text) const {
  std::u16string written;
  written.reserve(text.size() * calls.size());
  for (const VXNodePtr& parameters : calls) {
    std::u16string copy = text;
    ReplaceAll(copy, aliasVariables_, WriteRiskArguments(procedure.Variables, parameters));
    written += copy;
  }
  ReplaceAll(written, aliasRiskAssessmentName_, procedure.Name);
  return written;
}

GuidSet CDBNameRiskAssessmentProcessor::ApplyMoIdsFilter(const VXNodePtr& risk,
                                                         const GuidSet& ids) const {
  const GuidSet asked = ReadGuidSet(risk, u"MonitoringPlans", false);
  return asked.empty() ? ids : Intersect(ids, asked);
}

GuidSet CDBNameRiskAssessmentProcessor::ApplyRbac(const GuidSet& ids) const {
  const VXNodePtr token = GetCallerToken();
  if (!token) return ids;
  const auto checker = GetNamedInstance<IPermissionsChecker>(kCheckerName);
  AccessCheckResult result = kAccessMissing;
  VXNodePtr scope;
  Check(checker->CheckAccess(token, requiredPermission_.c_str(), &result, &scope));
  switch (result) {
    case kAccessMissing:
      VX_LOG(Severity::WARN,
             u"Permission '" << requiredPermission_ << u"' is missing for: " << token);
      Check(HresultFromWin32(kWinErrorAccessDenied));
      return {};
    case kAccessLimited:
      return Intersect(ids, ScopeContainers(scope));
    case kAccessFull:
      return ids;
  }
  return {};
}

GuidSet CDBNameRiskAssessmentProcessor::ApplyStaticFilter(const GuidSet& ids) const {
  GuidSet kept;
  std::set_difference(ids.begin(), ids.end(), excludedMoids_.begin(), excludedMoids_.end(),
                      std::inserter(kept, kept.end()), GuidBytesLess());
  return Intersect(kept, GetEnabledRsMonitoringPlanIds());
}

GuidSet CDBNameRiskAssessmentProcessor::GetEnabledRsMonitoringPlanIds() const {
  GuidSet enabled;
  for (const VXNodePtr& node : FindAll(kManagedObjects, kWholeSubtrees)) {
    if (ChildEnabled(node, u"ReportingSettings")) enabled.insert(ReadGuidText(node.GetValue()));
  }
  return enabled;
}

GuidSet CDBNameRiskAssessmentProcessor::GetEnabledDataSources(const GUID& plan) const {
  const std::u16string path =
      JoinConfigPath(monitoringPlansCfgPath_, FormatGuid(plan, 3), u"AuditedSystems");
  GuidSet enabled;
  for (const VXNodePtr& node : FindAll(path, VXNodePtr::kWholeTree)) {
    const VXNodePtr scopeItems = node.GetChild(u"ScopeItems");
    if (node.GetBool(u"Enabled", false) && scopeItems && scopeItems.ChildCount() > 0 &&
        ChildEnabled(node, u"StateInTimeReporting")) {
      enabled.insert(ReadGuidText(node.GetValue()));
    }
  }
  return enabled;
}

std::vector<std::u16string> CDBNameRiskAssessmentProcessor::RetrieveItems(
    const GUID& plan, const std::u16string& riskName, const GuidSet& enabledDataSources) const {
  const auto entry = riskConfiguration_.find(riskName);
  if (entry == riskConfiguration_.end()) {
    ThrowError(E_INVALIDARG, u": no RiskConfiguration row for risk '" + riskName + u"'");
  }
  const GuidSet dataSources = Intersect(entry->second.DataSources, enabledDataSources);
  if (dataSources.empty()) return {};
  return RetrieveContainerItems(plan, dataSources, entry->second.UseItemDisplayName);
}

std::vector<std::u16string> CDBNameRiskAssessmentProcessor::ApplyItemsFilter(
    const VXNodePtr& risk, std::vector<std::u16string> items, bool useDisplayName) const {
  const VXNodePtr asked = risk.GetChild(u"Items");
  std::unordered_set<std::u16string> wanted;
  const uint32_t count = asked ? asked.ChildCount() : 0;
  for (uint32_t i = 0; i < count; ++i) {
    const VXNodePtr item = asked.ChildAt(i);
    if (item.TypeView() != u"Item") continue;
    std::u16string value = item.GetString(u"ItemValue");
    wanted.insert(useDisplayName ? ScopeItemDisplayNames::Instance().DisplayText(
                                       value, item.GetString(u"ItemType"))
                                 : std::move(value));
  }
  if (wanted.empty()) return items;
  std::erase_if(items, [&](const std::u16string& item) { return !wanted.contains(item); });
  return items;
}

}  // namespace QueriesProcessing
