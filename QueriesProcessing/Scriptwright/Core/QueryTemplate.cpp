#include "QueriesProcessing/Scriptwright/Core/QueryTemplate.h"

#include "Common/LogScope.h"

namespace QueriesProcessing {

CQueryTemplate::CQueryTemplate(const VXNodePtr& node) {
  dbSchema_ = node.GetInt32(u"db_schema", 0);
  node.ForEachChild([&](const VXNodePtr& child) {
    if (child.GetType() == u"sql_command") commands_.push_back(std::make_shared<CSQLCommand>(child));
  });
}

HRESULT CQueryTemplate::Run(VXNodePtr& request) const {
  VX_LOG_SCOPE(Severity::DBG, "CQueryTemplate::Run");
  try {
    request.SetInt32(u"DBSchema", dbSchema_);
    if (!request.HasAttribute(u"IncompleteMembers")) request.SetBool(u"IncompleteMembers", false);
    if (!request.HasAttribute(u"LimitCountMembers")) request.SetInt32(u"LimitCountMembers", -1);
    const bool mergeDatasets = request.GetBool(u"MergeDatasets", true);
    for (const auto& command : commands_) {
      VXNodePtr result = VXNodePtr::Create(u"", u"Command");
      result.TakeString(u"SQL_Command", command->GenerateText(request));
      result.SetBool(u"no_result", command->noResult());
      result.SetBool(u"final", command->isFinal());
      result.SetBool(u"always_execute", command->alwaysExecute());
      result.SetBool(u"multiple_dataset", command->multipleDataset());
      result.SetBool(u"merge_dataset", mergeDatasets);
      request.AddChild(result);
    }
    return S_OK;
  } catch (const HRX& failure) {
    // The caller raises the code again; hand it the text as well.
    SetErrorInfo(failure.errorInfo());
    return failure.code();
  }
}

}  // namespace QueriesProcessing
