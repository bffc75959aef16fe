#include "QueriesProcessing/Scriptwright/Core/ProcessorTable.h"

#include "QueriesProcessing/Scriptwright/Values/DateAddProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/OptionalTopProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/SimpleParametersProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/TopProcessor.h"
#include "QueriesProcessing/Scriptwright/Values/UIDProcessor.h"

namespace QueriesProcessing {

namespace {

template <typename T>
std::shared_ptr<IVariableProcessor> Make() {
  return std::make_shared<T>();
}

}  // namespace

const std::vector<ProcessorTableRow>& ProcessorTable() {
  static const std::vector<ProcessorTableRow> table = {
      {u"%UID%", Make<CUIDProcessor>},
      {u"%TOP%", Make<CTopProcessor>},
      {u"%SIMPLE_PARAMETERS%", Make<CSimpleParametersProcessor>},
      {u"%DATEADD%", Make<CDateAddProcessor>},
      {u"%OPTIONAL_TOP_PROCESSOR%", Make<COptionalTopProcessor>},
  };
  return table;
}

}  // namespace QueriesProcessing
