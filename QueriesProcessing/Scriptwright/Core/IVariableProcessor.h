#pragma once

#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// One replacer of template tokens. The processors manager makes one object per
// configured token and calls it for every command that lists the token.
//
// A processor keeps configuration only, set by Initialize and read-only after
// it; all state of one request lives in the request tree or on the stack.
// Calls come one at a time, under the engine's lock.
class IVariableProcessor {
 public:
  // Reads the processor's configuration node (the catalogue child named by
  // the token). Returns 0 or a failure code. The base reads nothing.
  virtual HRESULT Initialize(const VXNodePtr& config);

  // Rewrites `text`, the command's whole working text. `request` is the query
  // request, which the processor may read and annotate for later processors.
  // `variable` is the command's `variable_processor` node for this use, or
  // null when the command lists the token in its `variables`. Returns 0 or a
  // failure code.
  virtual HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) = 0;

  virtual ~IVariableProcessor() = default;
};

}  // namespace QueriesProcessing
