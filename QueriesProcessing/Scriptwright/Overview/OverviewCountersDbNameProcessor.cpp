#include "QueriesProcessing/Scriptwright/Overview/OverviewCountersDbNameProcessor.h"

#include <set>
#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Joins/PerUse.h"
#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"
#include "QueriesProcessing/Scriptwright/Targeting/IntListAttribute.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kAuditing = u"Auditing_systems";
constexpr std::u16string_view kSuppressed = u"Suppressed_Auditing_systems";

struct ProductIds {
  std::vector<int32_t> included;
  std::vector<int32_t> excluded;
};

bool IsInList(const VXNodePtr& node) {
  const VXNodePtr parent = node.Parent();
  return parent && parent.GetType() == u"Condition" &&
         parent.GetString(u"operator", u"") == u"IN";
}

void CollectIds(const VXNodePtr& node, ProductIds& ids) {
  if (node.HasAttribute(u"Value")) {
    const int32_t id = node.GetInt32(u"Value");
    const bool equal = node.GetString(u"Comparator", u"=") == u"=";
    (equal ? ids.included : ids.excluded).push_back(id);
  } else if (node.HasAttribute(u"Values")) {
    const std::vector<int32_t> values = ReadIntList(node, u"Values");
    auto& target = IsInList(node) ? ids.included : ids.excluded;
    target.insert(target.end(), values.begin(), values.end());
  }
}

std::set<int32_t> ReadSet(const VXNodePtr& request, std::u16string_view name) {
  const std::vector<int32_t> ids = ReadIntList(request, name);
  return {ids.begin(), ids.end()};
}

void WriteSet(const VXNodePtr& request, std::u16string_view name, const std::set<int32_t>& ids) {
  if (!ids.empty()) WriteIntList(request, name, {ids.begin(), ids.end()});
}

}  // namespace

HRESULT COverviewCountersDbNameProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewCountersDbNameProcessor::Initialize");
  return OperationFrame("COverviewCountersDbNameProcessor::Initialize", [&] {
    matchingColumn_ = config.GetString(u"matching_column");
    dependencyProcessor_ = config.GetString(u"dependency_processor");
    dbNameSeparator_ = config.GetString(u"dbname_separator");
    explicitView_ = config.GetString(u"explicit_vew", u"");
    productIdMap_.clear();
    config.GetChild(u"DataSourceMapping", true).ForEachChild([&](const VXNodePtr& child) {
      const int32_t mandatory = child.GetInt32(u"MandatoryProductId");
      productIdMap_.try_emplace(mandatory, mandatory);
      for (const int32_t id : ReadIntList(child, u"AdditionalProductIds"))
        productIdMap_.try_emplace(id, mandatory);
    });
  });
}

HRESULT COverviewCountersDbNameProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                                      std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "COverviewCountersDbNameProcessor::ProcessNode");
  return OperationFrame("COverviewCountersDbNameProcessor::ProcessNode", [&] {
    MoveProductConditions(request);
    const VXNodePtr dependency = VXNodePtr::Create(u"");
    dependency.SetString(u"DbNameSeparator", PerUseString(variable, u"DbNameSeparator", dbNameSeparator_));
    if (!explicitView_.empty()) dependency.SetString(u"ExplicitView", explicitView_);
    CProcessorsManager::Instance().ProcessVariable(request, dependency, dependencyProcessor_, text);
    std::u16string defaultTemplate;
    if (text.empty() && variable && variable.TryGetString(u"default_template", defaultTemplate))
      text = std::move(defaultTemplate);
  });
}

int32_t COverviewCountersDbNameProcessor::GetMandatoryProductId(int32_t id) const {
  const auto found = productIdMap_.find(id);
  if (found != productIdMap_.end()) return found->second;
  try {
    ThrowError(E_NOTFOUND, u": Product id not found: " + ToText(id));
  } catch (const HRX& failure) {
    FrameDetail::ReportFailure("COverviewCountersDbNameProcessor::GetMandatoryProductId", failure);
    throw;
  }
}

void COverviewCountersDbNameProcessor::MoveProductConditions(const VXNodePtr& request) const {
  const VXNodePtr conditions = request.GetChild(u"Conditions");
  if (!conditions) return;
  ProductIds ids;
  WalkPreOrder(conditions, true, [&](const VXNodePtr& node) {
    if (node.GetType() != u"ConditionValues") return;
    if (node.GetString(u"Columnn") == matchingColumn_) CollectIds(node, ids);
  });
  std::set<int32_t> auditing = ReadSet(request, kAuditing);
  std::set<int32_t> suppressed = ReadSet(request, kSuppressed);
  for (const int32_t id : ids.included) auditing.insert(GetMandatoryProductId(id));
  for (const int32_t id : ids.excluded) suppressed.insert(GetMandatoryProductId(id));
  WriteSet(request, kAuditing, auditing);
  WriteSet(request, kSuppressed, suppressed);
}

}  // namespace QueriesProcessing
