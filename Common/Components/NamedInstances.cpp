#include "Common/Components/NamedInstances.h"

#include <atomic>

namespace {

std::atomic<NamedInstanceProvider> gProvider{nullptr};

}  // namespace

extern "C" void ScriptwrightSetNamedInstanceProvider(NamedInstanceProvider provider) { gProvider = provider; }

HRESULT AxGetNamedInstance(const char16_t* name, uint32_t flags, const GUID& iid, void** out) {
  if (!name || !out) return E_INVALIDARG;
  *out = nullptr;
  const NamedInstanceProvider provider = gProvider.load();
  return provider ? provider(name, flags, &iid, out) : E_NOTFOUND;
}
