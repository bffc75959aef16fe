#pragma once

#include <cstdint>

#include "Common/ErrorHandling.h"
#include "Common/Guid.h"
#include "Common/Nodes/VXNodePtr.h"

// The binary convention of components: every interface begins with these
// three operations, and interfaces are named by GUID (each declares `kIid`).
// QueryInterface adds a reference on success; null arguments give 0x80070057,
// an interface the object lacks 0x80004002.
struct IComponent {
  static inline const GUID kIid = MakeGuid(u"{00000000-0000-0000-C000-000000000046}");

  virtual HRESULT QueryInterface(const GUID& iid, void** out) = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;

 protected:
  ~IComponent() = default;
};

// Components the host configures.
struct IConfigurable : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D11}");
  virtual HRESULT Configure(const VXNodePtr& configuration) = 0;
};

// Components the host stops before it lets go of them.
struct IShutdown : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D12}");
  virtual HRESULT Shutdown() = 0;
};

// A reference that does not keep its object alive.
struct IWeakReference : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D13}");
  // The object's interface `iid` while the object lives; else 0x80004002
  // with a null `out`.
  virtual HRESULT Resolve(const GUID& iid, void** out) = 0;
};

struct IWeakReferenceSource : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D14}");
  virtual HRESULT GetWeakReference(IWeakReference** out) = 0;
};
