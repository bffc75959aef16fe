#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Common/ContinuationMark.h"

namespace QueriesProcessing {

// Writes one database's paging position into that database's copy of a
// template text: the %DB_NAME% processor calls one of these for every
// (database, view) pair, before any other token of the copy is resolved.
// These are not entries of the processors table.
//
// ProcessNode changes `text` in place and returns 0; a failure is logged and
// its status returned (the text may then be half done and is to be dropped).
// `dbKey` names the database for CContinuationMark::GetMarkForDB; a null
// `mark` counts as a request without marks. The request is only read.
// Implementations are read-only after construction, so one object may serve
// any number of calls.
class IContinuationMarkProcessor {
 public:
  virtual HRESULT ProcessNode(const VXNodePtr& request, std::u16string_view dbKey,
                              std::u16string& text,
                              const std::shared_ptr<const CContinuationMark>& mark) const = 0;
  virtual ~IContinuationMarkProcessor() = default;
};

}  // namespace QueriesProcessing
