#include "Common/SubsystemHelpers/DBHealth.h"

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/ServiceLayer/RequestContext.h"

namespace {

constexpr char16_t kServiceClientName[] = u"Core.ServiceClient";
constexpr char16_t kGateUrl[] = u"Service.DatabaseManagementGate";

// The gate answers for the system, not for a client: the call runs in a
// context of its own that carries no caller's token.
VXNodePtr MakeContextWithoutToken() { return VXNodePtr::Create(u"RequestContext"); }

std::shared_ptr<DBHealthEntry> ReadEntry(const VXNodePtr& node, std::pmr::memory_resource* arena) {
  auto entry =
      std::allocate_shared<DBHealthEntry>(std::pmr::polymorphic_allocator<DBHealthEntry>(arena));
  entry->DbName = node.GetString(u"DbName");
  entry->Available = node.GetBool(u"Available");
  entry->Mandatory = node.GetBool(u"Mandatory");
  return entry;
}

}  // namespace

VXNodePtr CDBHealth::GetHealthInfo() {
  VX_LOG_SCOPE(Severity::DBG, "CDBHealth::GetHealthInfo");
  RequestContext context(MakeContextWithoutToken());
  const VXNodePtr request = VXNodePtr::Create(u"", u"DatabaseHealthRequest");
  const auto client = GetNamedInstance<IServiceClient>(kServiceClientName);
  CompPtr<IServiceProxy> proxy;
  Check(client->OpenService(kGateUrl, 0, IServiceProxy::kIid, proxy.ReceiveVoid()));
  if (!proxy) ThrowError(E_POINTER, u": no proxy of " + std::u16string(kGateUrl));
  VXNodePtr response;
  Check(proxy->Call(request, &response));
  return response;
}

void CDBHealth::LoadHealthInfo() {
  VX_LOG_SCOPE(Severity::DBG, "CDBHealth::LoadHealthInfo");
  const VXNodePtr response = GetHealthInfo();
  VX_LOG(Severity::DBG, u"Health info:" << response);
  const VXNodePtr entries = response ? response.GetChild(u"DatabaseHealthResponse") : VXNodePtr();
  if (!entries) return;
  // Sized once for a gate that reports thousands of databases.
  entries_.reserve(entries_.size() + entries.ChildCount());
  entries.ForEachChild([this](const VXNodePtr& child) {
    if (child.GetName() != u"DatabaseHealthEntry") return;
    std::shared_ptr<DBHealthEntry> entry = ReadEntry(child, &arena_);
    if (entries_.contains(entry->DbName)) return;
    const std::u16string_view name = entry->DbName;
    entries_.emplace(name, std::move(entry));
  });
}

bool CDBHealth::GetDBInfoByName(std::u16string_view dbName, bool* available,
                                bool* mandatory) const {
  VX_LOG(Severity::DBG, u" DBName:" << dbName);
  const auto it = entries_.find(dbName);
  if (it == entries_.end()) return false;
  const DBHealthEntry& entry = *it->second;
  VX_LOG(Severity::DBG, u"Available:" << entry.Available << u" Mandatory:" << entry.Mandatory);
  if (available) *available = entry.Available;
  if (mandatory) *mandatory = entry.Mandatory;
  return true;
}
