#pragma once

#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/ErrorHandling.h"

// The named components of the host ("DataSourceManager",
// "ConfigServer.Proxy", ...). The library never links the host: the host
// hands its look-up function to the library once, through the export
// ScriptwrightSetNamedInstanceProvider, before it configures any component.

using NamedInstanceProvider = HRESULT (*)(const char16_t* name, uint32_t flags, const GUID* iid, void** out);

extern "C" void ScriptwrightSetNamedInstanceProvider(NamedInstanceProvider provider);

// The named component's interface `iid`, made and configured by the host on
// its first request. 0x80070490 when there is no host or no such instance.
HRESULT AxGetNamedInstance(const char16_t* name, uint32_t flags, const GUID& iid, void** out);

// The same as a CompPtr; raises HRX with the failure, naming the instance.
template <typename I>
CompPtr<I> GetNamedInstance(const std::u16string& name) {
  CompPtr<I> instance;
  const HRESULT status = AxGetNamedInstance(name.c_str(), 0, I::kIid, instance.ReceiveVoid());
  if (Failed(status)) ThrowError(status, u": named instance '" + name + u"'");
  return instance;
}
