#pragma once

#include <cstdint>

#include "Common/Components/IComponent.h"
#include "Common/Nodes/VXNodePtr.h"

// "Core.RequestContextMgr": the request context of the calling thread, by kind.
struct IRequestContextMgr : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D31}");
  // Sets the thread's context of `kind` and gives the one in force before.
  virtual HRESULT ExchangeContext(int32_t kind, const VXNodePtr& context, VXNodePtr* previous) = 0;
  // The thread's context of `kind`; `request` may narrow what is asked.
  virtual HRESULT GetContext(int32_t kind, const VXNodePtr& request, VXNodePtr* context) = 0;
};

// The connection to one service.
struct IServiceProxy : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D32}");
  // Sends `request` and blocks for the answer. A failure is the transport's.
  virtual HRESULT Call(const VXNodePtr& request, VXNodePtr* response) = 0;
};

// "Core.ServiceClient": opens services by URL.
struct IServiceClient : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D33}");
  virtual HRESULT OpenService(const char16_t* url, uint32_t flags, const GUID& iid, void** proxy) = 0;
};
