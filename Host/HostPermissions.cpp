#include "Host/HostPermissions.h"

#include "Common/Logger.h"
#include "Host/EnvironmentValues.h"

namespace {

VXNodePtr ScopeOf(const VXNodePtr& permission) {
  VXNodePtr scope = VXNodePtr::Create(u"Scope");
  permission.ForEachChild([&](const VXNodePtr& child) { scope.AddChild(child.Clone()); });
  return scope;
}

}  // namespace

HostPermissions::HostPermissions(const VXNodePtr& permissions) {
  if (!permissions) return;
  tree_ = permissions.Clone();
  tree_.ForEachChild([this](const VXNodePtr& child) {
    if (child.GetType() != u"Permission") return;
    Entry entry{child.GetString(u"Token"), child.GetString(u"Name"), 0, StatusAttribute(child),
                child};
    if (!entry.status) entry.result = child.GetInt32(u"Result");
    entries_.push_back(std::move(entry));
  });
}

const HostPermissions::Entry* HostPermissions::Find(std::u16string_view token,
                                                    std::u16string_view permission) const {
  for (const Entry& entry : entries_) {
    if (entry.token == token && entry.name == permission) return &entry;
  }
  return nullptr;
}

HRESULT HostPermissions::CheckAccess(const VXNodePtr& token, std::u16string_view permission,
                                     int32_t* result, VXNodePtr* scope) const {
  if (!result || !scope) return E_INVALIDARG;
  *result = 0;
  *scope = VXNodePtr();
  const std::u16string tokenName = token ? token.GetName() : std::u16string();
  const Entry* entry = Find(tokenName, permission);
  const std::u16string_view call = u"Security.PermissionsChecker CheckAccess(";
  if (!entry) {
    VX_LOG(Severity::DBG,
           call << tokenName << u", " << permission << u"): no permission listed, result 0");
    return S_OK;
  }
  if (entry->status) {
    VX_LOG(Severity::DBG,
           call << tokenName << u", " << permission << u"): " << StatusText(*entry->status));
    return *entry->status;
  }
  VX_LOG(Severity::DBG, call << tokenName << u", " << permission << u"): result " << entry->result);
  *result = entry->result;
  std::lock_guard guard(lock_);
  *scope = ScopeOf(entry->node);
  return S_OK;
}
