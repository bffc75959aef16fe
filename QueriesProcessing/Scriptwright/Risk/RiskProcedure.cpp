#include "QueriesProcessing/Scriptwright/Risk/RiskProcedure.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

std::vector<VXNodePtr> SortedArguments(const VXNodePtr& procedure) {
  std::vector<std::pair<int32_t, VXNodePtr>> ordered;
  procedure.ForEachChild([&](const VXNodePtr& argument) {
    ordered.emplace_back(argument.GetInt32(u"order", 0), argument.Clone());
  });
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<VXNodePtr> arguments;
  arguments.reserve(ordered.size());
  for (auto& [order, argument] : ordered) arguments.push_back(std::move(argument));
  return arguments;
}

std::shared_ptr<const RiskProcedure> Overridden(const RiskProcedure& base, const VXNodePtr& risk) {
  auto procedure = std::make_shared<RiskProcedure>();
  procedure->Name = base.Name;
  for (const VXNodePtr& argument : base.Variables) procedure->Variables.push_back(argument.Clone());
  risk.ForEachChild([&](const VXNodePtr& child) {
    if (child.TypeView() != u"OverrideVariables") return;
    const uint32_t order = child.GetUInt32(u"order");
    // An order of 0 wraps to the largest index, beyond every list.
    const uint32_t index = order - 1;
    if (index >= procedure->Variables.size()) {
      ThrowError(E_INVALIDARG, u": OverrideVariables order " + ToTextUnsigned(order) +
                                   u" of risk '" + risk.GetValue() + u"' is not one of the " +
                                   ToTextUnsigned(procedure->Variables.size()) + u" arguments of " +
                                   base.Name);
    }
    procedure->Variables[index] = child.Clone();
  });
  return procedure;
}

}  // namespace

RiskName2Procedure MakeMappingRiskName2Procedure(const VXNodePtr& config) {
  const VXNodePtr mapping = config.GetChild(u"RiskAssessmentProcedureMapping", true);
  RiskName2Procedure procedures;
  config.ForEachChild([&](const VXNodePtr& child) {
    if (child.TypeView() != u"BaseRiskAssessmentProcedure") return;
    auto base = std::make_shared<RiskProcedure>();
    base->Name = child.GetValue();
    base->Variables = SortedArguments(child);
    const VXNodePtr risks = mapping.GetChild(base->Name, true);
    risks.ForEachChild([&](const VXNodePtr& risk) {
      if (risk.TypeView() != u"RiskAssessment") return;
      procedures.try_emplace(risk.GetValue(),
                             risk.ChildCount() == 0 ? base : Overridden(*base, risk));
    });
  });
  return procedures;
}

}  // namespace QueriesProcessing
