#pragma once

#include "Common/Components/CompPtr.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"

// Enters a request context for the life of the scope: the calling thread acts
// for the client that `context` describes, through "Core.RequestContextMgr".
// Without that component, entering and leaving do nothing. Entering raises
// HRX on failure; leaving never raises (a failed restore is logged at WARN).
// Not shared between threads.
class RequestContext {
 public:
  static constexpr int32_t kKind = 1;

  explicit RequestContext(const VXNodePtr& context);
  ~RequestContext();
  RequestContext(const RequestContext&) = delete;
  RequestContext& operator=(const RequestContext&) = delete;

 private:
  int32_t kind_ = kKind;
  CompPtr<IRequestContextMgr> manager_;
  VXNodePtr context_;
  VXNodePtr previous_;
};

// The calling thread's context of `kind`; null without "Core.RequestContextMgr".
// Raises HRX when the component fails.
VXNodePtr GetCurrentContext(int32_t kind = RequestContext::kKind);
