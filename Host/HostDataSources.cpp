#include "Host/HostDataSources.h"

#include "Common/Logger.h"
#include "Host/EnvironmentValues.h"

HostDataSources::HostDataSources(const VXNodePtr& dataSources) {
  if (!dataSources) return;
  tree_ = dataSources.Clone();
  tree_.ForEachChild([this](const VXNodePtr& child) {
    if (child.GetType() != u"DataSource") return;
    entries_.push_back({child.GetValue(), child, StatusAttribute(child)});
  });
}

const HostDataSources::Entry* HostDataSources::Find(std::u16string_view id) const {
  for (const Entry& entry : entries_) {
    if (SameValue(id, entry.id)) return &entry;
  }
  return nullptr;
}

HRESULT HostDataSources::GetDataSource(std::u16string_view id, VXNodePtr* node,
                                       uint32_t flags) const {
  if (!node) return E_INVALIDARG;
  *node = VXNodePtr();
  const Entry* entry = Find(id);
  const std::u16string_view call = u"DataSourceManager GetDataSource(";
  if (!entry) {
    VX_LOG(Severity::DBG, call << id << u", " << flags << u"): not found");
    return S_OK;
  }
  if (entry->status) {
    VX_LOG(Severity::DBG, call << id << u", " << flags << u"): " << StatusText(*entry->status));
    return *entry->status;
  }
  VX_LOG(Severity::DBG, call << id << u", " << flags << u"): found");
  std::lock_guard guard(lock_);
  *node = entry->node.Clone();
  return S_OK;
}
