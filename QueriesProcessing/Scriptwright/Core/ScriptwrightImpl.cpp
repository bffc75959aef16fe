#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"

#include <utility>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

namespace QueriesProcessing {

namespace {

// Templates that have a cheaper form for requests without complex conditions.
constexpr std::pair<std::u16string_view, std::u16string_view> kLightTemplates[] = {
    {u"query_all_data_by_rid_with_cm_sort", u"query_all_data_by_rid_with_cm_sort_light"},
    {u"query_all_data_by_rid_with_cm_sort_while_with_classes",
     u"query_all_data_by_rid_with_cm_sort_while_light_with_classes"},
};

// Depth first, the node itself first; the walk always runs to its end, so
// every `Columnn` is read and one that cannot be read as text fails the
// request whichever template it names.
bool AnyComplexColumn(const VXNodePtr& node, const TextSet& names) {
  bool found = false;
  if (const auto column = node.FindString(u"Columnn")) found = names.contains(column->view());
  const uint32_t count = node.ChildCount();
  for (uint32_t i = 0; i < count; ++i) found = AnyComplexColumn(node.ChildAt(i), names) || found;
  return found;
}

}  // namespace

HRESULT CScriptwrightImpl::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CScriptwrightImpl::Initialize");
  std::lock_guard guard(lock_);
  return OperationFrame("CScriptwrightImpl::Initialize", [&] {
    CProcessorsManager::Instance().Initialize(config);
    pageExpandSize_ = config.GetUInt32(u"page_expand_size", 1000);
    templates_.clear();
    config.ForEachChild([&](const VXNodePtr& child) {
      if (child.GetType() == u"query_template") templates_[child.GetName()] = std::make_shared<CQueryTemplate>(child);
    });
    complexConditionNames_.clear();
    for (auto& name : config.GetStringList(u"complex_condition_names", true)) {
      complexConditionNames_.insert(std::move(name));
    }
  });
}

HRESULT CScriptwrightImpl::Prepare(VXNodePtr& request) {
  VX_LOG_SCOPE(Severity::DBG, "CScriptwrightImpl::Prepare");
  std::lock_guard guard(lock_);
  return OperationFrame("CScriptwrightImpl::Prepare", [&] {
    const CQueryTemplate& chosen = ChooseTemplate(request);
    ExpandContinuousPage(request);
    Check(chosen.Run(request));
  });
}

const CQueryTemplate& CScriptwrightImpl::ChooseTemplate(VXNodePtr& request) const {
  const AttributeText name = request.GetStringView(u"Query_Template_Name");
  auto found = templates_.find(name.view());
  if (found == templates_.end()) {
    ThrowError(E_INVALIDARG, u": no query template '" + name.str() + u"' in the catalogue");
  }
  if (HasComplexConditions(request)) return *found->second;
  for (const auto& [full, light] : kLightTemplates) {
    if (name != full) continue;
    auto lightFound = templates_.find(light);
    if (lightFound == templates_.end()) {
      ThrowError(E_INVALIDARG, u": no light query template '" + std::u16string(light) + u"' in the catalogue");
    }
    request.SetString(u"Query_Template_Name", light);
    return *lightFound->second;
  }
  return *found->second;
}

void CScriptwrightImpl::ExpandContinuousPage(const VXNodePtr& request) const {
  if (!request.GetBool(u"Continuous", false)) return;
  VX_LOG(Severity::DBG, u"Continuous search. Correct page size");
  const int32_t top = request.GetInt32(u"Top", 2000);
  request.SetUInt32(u"MaxCount", static_cast<uint32_t>(top));
  const uint32_t enlarged = static_cast<uint32_t>(top) + pageExpandSize_;
  VX_LOG(Severity::DBG, u"Current TOP:" << top << u" Set:" << enlarged);
  request.SetUInt32(u"Top", enlarged);
}

bool CScriptwrightImpl::HasComplexConditions(const VXNodePtr& request) const {
  VXNodePtr conditions = request.GetChild(u"Conditions");
  const bool result = conditions && AnyComplexColumn(conditions, complexConditionNames_);
  VX_LOG(Severity::DBG, u"Has complex conditions result: " << result);
  return result;
}

}  // namespace QueriesProcessing
