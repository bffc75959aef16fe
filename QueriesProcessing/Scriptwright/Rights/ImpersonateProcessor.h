#pragma once

#include <string>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %IMPERSONATION%: writes the display name of the caller as a national string
// literal, for templates that record or filter by who asks.
//
// Configuration: `variable` (required), the text token replaced; missing, it
// fails Initialize with 0x80070490. The request is not read.
//
// The caller's token is the thread's request context (GetCallerToken). Every
// `variable` becomes "N'" + the token's `SubjectDisplayName` + "'", the name
// as it stands: a quote in it is NOT doubled and ends the literal, so a host
// must only put names it trusts into tokens. Without a token (a call from
// inside the process) the text is "N''". A token without
// `SubjectDisplayName` fails with 0x80070490 and leaves the text as it was.
//   "SET @who = %WHO%" with SubjectDisplayName "Ann Lee" -> "SET @who = N'Ann Lee'"
// The written text is not scanned again.
//
// Configuration only after Initialize; runs on the request's thread.
class CImpersonateProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::u16string variable_;
};

}  // namespace QueriesProcessing
