#include "QueriesProcessing/Common/DbKey.h"

#include "Common/InvariantCase.h"
#include "Common/SqlText.h"

namespace QueriesProcessing {

std::u16string MakeDbKey(std::u16string_view dbName) {
  return InvariantUpper(EscapeColumnName(dbName));
}

}  // namespace QueriesProcessing
