#pragma once

#include <string>

#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"

namespace QueriesProcessing {

// Paging by the row id alone, for every template that is not one of the
// sorted paging templates.
//
// Configuration (the %DB_NAME% processor's node): `continuation_mark_column`,
// required (HRX 0x80070490 out of the constructor).
//
// ProcessNode: when the text holds "%CONDITION_CMARK%", every occurrence
// becomes "[<column>] > '<rid>'", with <rid> the mark's RID for the database,
// "0" without one. Neither part is escaped. A text without the token is left
// alone and no mark is looked up:
//   continuation_mark_column "RID", mark RID 42  ->  "[RID] > '42'"
class ContinuationMarkDefaultProcessor : public IContinuationMarkProcessor {
 public:
  explicit ContinuationMarkDefaultProcessor(const VXNodePtr& config);

  HRESULT ProcessNode(const VXNodePtr& request, std::u16string_view dbKey, std::u16string& text,
                      const std::shared_ptr<const CContinuationMark>& mark) const override;

 private:
  std::u16string continuation_mark_column;
};

}  // namespace QueriesProcessing
