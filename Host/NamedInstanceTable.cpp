#include "Host/NamedInstanceTable.h"

#include <atomic>

namespace {

std::atomic<NamedInstanceTable*> gCurrent{nullptr};

}  // namespace

NamedInstanceTable::~NamedInstanceTable() {
  NamedInstanceTable* self = this;
  gCurrent.compare_exchange_strong(self, nullptr);
}

void NamedInstanceTable::Add(const std::u16string& name, IComponent* component) {
  std::lock_guard guard(lock_);
  components_[name] = CompPtr<IComponent>(component);
}

void NamedInstanceTable::Install() { gCurrent = this; }

HRESULT NamedInstanceTable::Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
  if (!name || !iid || !out) return E_INVALIDARG;
  *out = nullptr;
  NamedInstanceTable* table = gCurrent.load();
  if (!table) return E_NOTFOUND;
  std::lock_guard guard(table->lock_);
  auto it = table->components_.find(name);
  if (it == table->components_.end()) return E_NOTFOUND;
  return it->second->QueryInterface(*iid, out);
}
