#include "QueriesProcessing/Scriptwright/Risk/ContainerItems.h"

#include <optional>

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "QueriesProcessing/Scriptwright/Risk/GuidAttributes.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kServiceClientName[] = u"Core.ServiceClient";
constexpr char16_t kRegulatorUrl[] = u"Service.ContainersSettingsRegulator";

VXNodePtr Call(const VXNodePtr& request) {
  const auto client = GetNamedInstance<IServiceClient>(kServiceClientName);
  CompPtr<IServiceProxy> proxy;
  Check(client->OpenService(kRegulatorUrl, 0, IServiceProxy::kIid, proxy.ReceiveVoid()));
  if (!proxy) ThrowError(E_POINTER, u": no proxy of " + std::u16string(kRegulatorUrl));
  VXNodePtr response;
  Check(proxy->Call(request, &response));
  if (!response) ThrowError(E_NOTFOUND, u": no answer from " + std::u16string(kRegulatorUrl));
  return response;
}

}  // namespace

std::vector<std::u16string> RetrieveContainerItems(const GUID& plan, const GuidSet& dataSources,
                                                   bool useFullName) {
  VX_LOG_SCOPE(Severity::DBG, "RetrieveContainerItems");
  const VXNodePtr request = VXNodePtr::Create(u"RetrieveContainerItemsRequest");
  request.SetGuid(u"ContainerId", plan);
  SetGuidList(request, u"DataSourceIds", dataSources);
  request.SetBool(u"UseFullName", useFullName);
  VX_LOG(Severity::DBG, u"Request:" << request);
  const VXNodePtr response = Call(request);
  VX_LOG(Severity::DBG, u"Response:" << response);
  const int32_t code = response.GetInt32(u"ResultCode");
  if (Failed(code)) {
    std::u16string text;
    response.TryGetString(u"ErrorSerialized", text);
    ThrowError(code, text.empty() ? std::u16string() : u": " + text);
  }
  const std::optional<uint32_t> type = response.GetAttributeType(u"ScopeItems");
  if (!type || *type == VXN_EMPTY) return {};
  return response.GetStringList(u"ScopeItems", true);
}

}  // namespace QueriesProcessing
