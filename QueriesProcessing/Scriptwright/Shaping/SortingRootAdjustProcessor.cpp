#include "QueriesProcessing/Scriptwright/Shaping/SortingRootAdjustProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"

namespace QueriesProcessing {

HRESULT CSortingRootAdjustProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingRootAdjustProcessor::Initialize");
  return OperationFrame("CSortingRootAdjustProcessor::Initialize", [&] {
    entry_ = config.GetChild(u"SortingEntry", true).Clone();
    entry_.SetName(u"RID");
  });
}

HRESULT CSortingRootAdjustProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string&) {
  VX_LOG_SCOPE(Severity::DBG, "CSortingRootAdjustProcessor::ProcessNode");
  return OperationFrame("CSortingRootAdjustProcessor::ProcessNode", [&] {
    VXNodePtr root = request.GetChild(u"SortingRoot");
    if (!root) {
      root = VXNodePtr::Create(u"SortingRoot", u"SortingRoot");
      request.AddChild(root);
    }
    if (!root.GetChild(u"RID")) root.AddChild(entry_.Clone());
  });
}

}  // namespace QueriesProcessing
