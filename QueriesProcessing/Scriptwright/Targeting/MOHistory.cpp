#include "QueriesProcessing/Scriptwright/Targeting/MOHistory.h"

#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "QueriesProcessing/Scriptwright/Targeting/ConfigServerClient.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kHistoryPath[] = u"\\Tallyvane\\ReportingSettingsHistory";
constexpr char16_t kWasEverEnabled[] = u"WasEverEnabled";

// The systems that are part of the server and have no Containers entry.
struct BuiltInSystem {
  const char16_t* node;
  const char16_t* collector;
  const char16_t* managedObject;
};
constexpr BuiltInSystem kBuiltInSystems[] = {
    {u"IntegrationAPI", u"3a3ff789-b927-40c9-b5d2-3b3a08b6c289",
     u"17d9ed53-091a-4a87-835f-5a486882436f"},
    {u"Alerts", u"73f27cf7-87c8-4ae0-8193-53cad68a60aa", u"56559c74-2847-4013-8cb9-780c75c61111"},
    {u"SelfAudit", u"51add980-72bd-4887-a964-d019ae877462",
     u"fb549cd3-760f-4689-94d6-a05eb8097543"},
};
constexpr char16_t kInvestigationsObject[] = u"46353ff1-f051-4d62-a6dc-2f79bb71c5fd";

GUID ToGuid(std::u16string_view text) {
  const std::optional<GUID> guid = ParseGuid(text);
  if (!guid) ThrowError(E_INVALIDARG, u": '" + std::u16string(text) + u"' is no GUID");
  return *guid;
}

bool WasEnabled(const VXNodePtr& node) { return node && node.GetBool(kWasEverEnabled, false); }

}  // namespace

void CMOHistory::Initialize() {
  VX_LOG_SCOPE(Severity::DBG, "CMOHistory::Initialize");
  const auto proxy = GetNamedInstance<IConfigNodes>(u"ConfigServer.Proxy");
  const VXNodePtr history = ConfigServerClient::GetNode(*proxy.get(), kHistoryPath, true);
  VX_LOG(Severity::DBG, u"History:" << history);
  history.GetChild(u"Containers", true).ForEachChild([this](const VXNodePtr& container) {
    ReadContainer(container);
  });
  ReadBuiltInSystems(history);
}

void CMOHistory::ReadContainer(const VXNodePtr& container) {
  const std::u16string value = container.GetValue();
  VX_LOG(Severity::DBG, u"Found:" << value);
  const GUID id = ToGuid(value);
  const std::u16string text = FormatGuid(id, 0);
  if (WasEnabled(container)) {
    everEnabled_.insert(id);
    VX_LOG(Severity::DBG, text << u" enabled");
  } else {
    VX_LOG(Severity::DBG, text << u" disabled");
  }
  container.GetChild(u"AuditedSystems", true).ForEachChild([&](const VXNodePtr& system) {
    VX_LOG(Severity::DBG, u"Found:" << system.GetValue());
    if (system.GetName() != u"AuditedSystemNodeType") return;
    collectorObjects_[ToGuid(system.GetValue())].insert(text);
  });
}

void CMOHistory::ReadBuiltInSystems(const VXNodePtr& history) {
  for (const auto& system : kBuiltInSystems) {
    if (!WasEnabled(history.GetChild(system.node))) continue;
    collectorObjects_[MakeGuid(system.collector)].insert(
        FormatGuid(MakeGuid(system.managedObject), 0));
  }
  investigationsEverEnabled_ = WasEnabled(history.GetChild(u"Investigations"));
}

size_t CMOHistory::GetMObyCollector(std::u16string_view collectorId,
                                    std::set<std::u16string>& outIds) const {
  VX_LOG_SCOPE(Severity::DBG2, "CMOHistory::GetMObyCollector");
  const GUID collector = ToGuid(collectorId);
  outIds.clear();
  const auto it = collectorObjects_.find(collector);
  if (it != collectorObjects_.end()) {
    VX_LOG(Severity::DBG, u"Found history for " << collectorId);
    outIds = it->second;
  }
  if (investigationsEverEnabled_) outIds.insert(FormatGuid(MakeGuid(kInvestigationsObject), 0));
  return outIds.size();
}

bool CMOHistory::WasEverEnabled(std::u16string_view id) const {
  return everEnabled_.contains(ToGuid(id));
}

}  // namespace QueriesProcessing
