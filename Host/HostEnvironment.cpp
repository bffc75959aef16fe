#include "Host/HostEnvironment.h"

#include <string>

#include "Common/ErrorHandling.h"

VXNodePtr ChildOfType(const VXNodePtr& environment, std::u16string_view type) {
  for (uint32_t i = 0; environment && i < environment.ChildCount(); ++i) {
    if (environment.ChildAt(i).GetType() == type) return environment.ChildAt(i);
  }
  return VXNodePtr();
}

namespace {

// The library may hold the caller's token for as long as it likes: it gets a
// tree of its own, not a branch of the environment.
VXNodePtr FindCaller(const VXNodePtr& environment, std::u16string_view as) {
  if (as.empty()) return VXNodePtr();
  const VXNodePtr tokens = ChildOfType(environment, u"Tokens");
  for (uint32_t i = 0; tokens && i < tokens.ChildCount(); ++i) {
    const VXNodePtr token = tokens.ChildAt(i);
    if (token.GetType() == u"Token" && token.GetName() == as) return token.Clone();
  }
  ThrowError(E_INVALIDARG,
             u": no token '" + std::u16string(as) + u"' among the environment's Tokens");
}

}  // namespace

HostEnvironment::HostEnvironment(const VXNodePtr& environment, std::u16string_view as)
    : caller_(FindCaller(environment, as)),
      config_(ChildOfType(environment, u"Config")),
      services_(ServiceReplies::ReadAll(ChildOfType(environment, u"Services"))),
      dataSources_(
          std::make_shared<const HostDataSources>(ChildOfType(environment, u"DataSources"))),
      permissions_(
          std::make_shared<const HostPermissions>(ChildOfType(environment, u"Permissions"))),
      databaseSettings_(ChildOfType(environment, u"DatabaseSettings")) {
  if (databaseSettings_) databaseSettings_ = databaseSettings_.Clone();
}
