#include "QueriesProcessing/Scriptwright/Core/ProcessorTable.h"

namespace QueriesProcessing {

namespace {

template <typename T>
std::shared_ptr<IVariableProcessor> Make() {
  return std::make_shared<T>();
}

}  // namespace

const std::vector<ProcessorTableRow>& ProcessorTable() {
  static const std::vector<ProcessorTableRow> table = {
  };
  return table;
}

}  // namespace QueriesProcessing
