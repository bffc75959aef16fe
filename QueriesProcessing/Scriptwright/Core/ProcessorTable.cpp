#include "QueriesProcessing/Scriptwright/Core/ProcessorTable.h"

#include "QueriesProcessing/Scriptwright/Joins/CommonJoinProcessor.h"
#include "QueriesProcessing/Scriptwright/Joins/ConditionExtractor.h"
#include "QueriesProcessing/Scriptwright/Joins/JoinProcessor.h"
#include "QueriesProcessing/Scriptwright/Joins/WhenTimeProcessor.h"
#include "QueriesProcessing/Scriptwright/Membership/TableFillingProcessor.h"
#include "QueriesProcessing/Scriptwright/Membership/WhoGroupConditionProcessor.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewContersDictionaryFilterJoin.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersDbNameProcessor.h"
#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersProcessor.h"
#include "QueriesProcessing/Scriptwright/Rights/AccessFilterProcessor.h"
#include "QueriesProcessing/Scriptwright/Rights/ClassificationProcessor.h"
#include "QueriesProcessing/Scriptwright/Rights/FieldModificatorProcessor.h"
#include "QueriesProcessing/Scriptwright/Rights/ImpersonateProcessor.h"
#include "QueriesProcessing/Scriptwright/Risk/DBNameRiskAssessmentProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/CMSortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/DistinctProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/GroupByProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/SortingProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/SortingRootAdjustProcessor.h"
#include "QueriesProcessing/Scriptwright/Targeting/DBNameProcessor.h"
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
      {u"%DB_NAME%", Make<CDBNameProcessor>},
      {u"%CONDITION%", Make<CConditionsProcessor>},
      {u"%SIMPLE_PARAMETERS%", Make<CSimpleParametersProcessor>},
      {u"%ACCESS_FILTER%", Make<CAccessFilterProcessor>},
      {u"%ALERT_ACCESS_FILTER%", Make<CAccessFilterProcessor>},
      {u"%IMPERSONATION%", Make<CImpersonateProcessor>},
      {u"%SORTING%", Make<CSortingProcessor>},
      {u"%SORTING_ROOT_ADJUST%", Make<CSortingRootAdjustProcessor>},
      {u"%CMARK_SORTING_CONDITION%", Make<CCMSortingProcessor>},
      {u"%DATEADD%", Make<CDateAddProcessor>},
      {u"%DISTINCT%", Make<CDistinctProcessor>},
      {u"%DB_NAME_RISK_ASSESSMENT%", Make<CDBNameRiskAssessmentProcessor>},
      {u"%TABLE_FILLING%", Make<CTableFillingProcessor>},
      {u"%WHO_GROUP_CONDITION%", Make<CWhoGroupConditionProcessor>},
      {u"%WHEN_TIME_PROCESSOR%", Make<CWhenTimeProcessor>},
      {u"%GROUP_BY_PROCESSOR%", Make<CGroupByProcessor>},
      {u"%OVERVIEW_COUNTERS_PROCESSOR%", Make<COverviewCountersProcessor>},
      {u"%JOIN_PROCESSOR%", Make<CJoinProcessor>},
      {u"%OVERVIEW_COUNTERS.DICTIONARY_FILTER_JOIN%", Make<COverviewContersDictionaryFilterJoin>},
      {u"%OVERVIEW_COUNTERS.DB_NAME%", Make<COverviewCountersDbNameProcessor>},
      {u"%OVERVIEW_COUNTERS.GROUP_BY_PROCESSOR%", Make<CGroupByProcessor>},
      {u"%OPTIONAL_TOP_PROCESSOR%", Make<COptionalTopProcessor>},
      {u"%COMMON_JOIN_PROCESSOR%", Make<CCommonJoinProcessor>},
      {u"%FIELD_MODIFICATOR_PROCESSOR%", Make<CFieldModificatorProcessor>},
      {u"%CONDITION_EXTRACTOR%", Make<ConditionExtractor>},
      {u"%CONDITION_WITH_CLASSES%", Make<CClassificationProcessor>},
  };
  return table;
}

}  // namespace QueriesProcessing
