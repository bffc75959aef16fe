#include "QueriesProcessing/Scriptwright/Rights/CallerToken.h"

#include "Common/ServiceLayer/RequestContext.h"

namespace QueriesProcessing {

VXNodePtr GetCallerToken() { return GetCurrentContext(RequestContext::kKind); }

}  // namespace QueriesProcessing
