#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// One row of the token table: the token, which is both the dispatch key and
// the name of the processor's configuration child, and the maker of its
// processor object.
struct ProcessorTableRow {
  std::u16string_view token;
  std::shared_ptr<IVariableProcessor> (*create)();
};

// Every token of the system, in the order of registration. Adding a token
// means one row here and one processor class.
const std::vector<ProcessorTableRow>& ProcessorTable();

}  // namespace QueriesProcessing
