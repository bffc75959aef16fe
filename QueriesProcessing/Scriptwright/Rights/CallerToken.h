#pragma once

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The token of the client that the calling thread serves: the thread's request
// context (kind 1) as "Core.RequestContextMgr" gives it, nothing required of
// it. Null when there is no such component or the thread has no context,
// which is how a call from inside the process looks. Raises HRX when the
// component fails. Must run on the request's own thread.
VXNodePtr GetCallerToken();

}  // namespace QueriesProcessing
