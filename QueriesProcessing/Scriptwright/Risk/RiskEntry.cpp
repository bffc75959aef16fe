#include "QueriesProcessing/Scriptwright/Risk/RiskEntry.h"

#include "QueriesProcessing/Scriptwright/Risk/GuidAttributes.h"

namespace QueriesProcessing {

RiskConfiguration ReadRiskConfiguration(const VXNodePtr& config) {
  RiskConfiguration risks;
  config.GetChild(u"RiskConfiguration", true).ForEachChild([&](const VXNodePtr& row) {
    if (row.TypeView() != u"RiskEntry") return;
    RiskEntry entry;
    entry.RiskName = row.GetString(u"RiskName");
    entry.DataSources = ReadGuidSet(row, u"DataSources", true);
    entry.UseItemDisplayName = row.GetBool(u"UseItemDisplayName");
    std::u16string name = entry.RiskName;
    risks.try_emplace(std::move(name), std::move(entry));
  });
  return risks;
}

}  // namespace QueriesProcessing
