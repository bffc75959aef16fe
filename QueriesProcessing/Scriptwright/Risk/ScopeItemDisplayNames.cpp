#include "QueriesProcessing/Scriptwright/Risk/ScopeItemDisplayNames.h"

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "QueriesProcessing/Scriptwright/Targeting/ConfigServerClient.h"

namespace QueriesProcessing {

namespace {

VXNodePtr ReadConfig(const char16_t* component, std::u16string_view path) {
  const auto proxy = GetNamedInstance<IConfigNodes>(component);
  const VXNodePtr node = ConfigServerClient::GetNode(*proxy.get(), path, false);
  VX_LOG(Severity::DBG, component << u" " << path << u":" << node);
  return node;
}

ScopeItemDisplayNames Load() {
  VX_LOG_SCOPE(Severity::DBG, "ScopeItemDisplayNames::Load");
  return ScopeItemDisplayNames(
      {ReadConfig(u"Base.AppConfigStorage", u"\\Config\\scope_items_config"),
       ReadConfig(u"ConfigServer.Proxy", u"\\LumenboardUI\\scope_items_config")});
}

}  // namespace

const ScopeItemDisplayNames& ScopeItemDisplayNames::Instance() {
  static const ScopeItemDisplayNames names = Load();
  return names;
}

ScopeItemDisplayNames::ScopeItemDisplayNames(const std::vector<VXNodePtr>& sources) {
  for (const VXNodePtr& source : sources) {
    if (!source) continue;
    source.ForEachChild([this](const VXNodePtr& row) {
      std::u16string text;
      if (row.TryGetString(u"display_name", text))
        names_.try_emplace(row.GetValue(), std::move(text));
    });
  }
}

std::u16string ScopeItemDisplayNames::DisplayText(std::u16string_view value,
                                                  std::u16string_view type) const {
  const auto row = names_.find(type);
  if (row == names_.end() || row->second.empty()) return std::u16string(value);
  std::u16string text;
  text.reserve(value.size() + row->second.size() + 3);
  text.append(value).append(u" (").append(row->second).append(u")");
  return text;
}

}  // namespace QueriesProcessing
