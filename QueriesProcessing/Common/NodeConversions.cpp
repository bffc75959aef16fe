#include "QueriesProcessing/Common/NodeConversions.h"

#include "Common/LogScope.h"

namespace QueriesProcessing {

void NodeConversions::Init(const VXNodePtr& conversions) {
  VX_LOG_SCOPE(Severity::DBG, "NodeConversions::Init");
  if (!conversions) return;
  conversions.ForEachChild([this](const VXNodePtr& rule) {
    const VXNodePtr nodeTemplate = rule.GetChild(u"NodeTemplate");
    const VXNodePtr nodeMatching = rule.GetChild(u"NodeMatching", true);
    Rule copied{nodeTemplate ? nodeTemplate.Clone(VXNodePtr::kWholeTree) : VXNodePtr::Create(u""),
                nodeMatching.Clone(VXNodePtr::kWholeTree)};
    rules_.try_emplace(rule.GetName(), std::move(copied));
  });
}

const NodeConversions::Rule* NodeConversions::Find(const VXNodePtr& node) const {
  const auto it = rules_.find(node.GetType());
  return it == rules_.end() ? nullptr : &it->second;
}

bool NodeConversions::IsDefined(const VXNodePtr& node) const {
  VX_LOG_SCOPE(Severity::DBG3, "NodeConversions::IsDefined");
  const Rule* rule = Find(node);
  if (!rule) return false;
  const std::vector<std::u16string> names = rule->nodeMatching.AttributeNames();
  if (names.empty()) return true;
  for (const auto& name : names) {
    if (VXNodePtr::CompareAttribute(name, rule->nodeMatching, node, 0)) return true;
  }
  return false;
}

void NodeConversions::Apply(const VXNodePtr& node) const {
  VX_LOG_SCOPE(Severity::DBG3, "NodeConversions::Apply");
  const Rule* rule = Find(node);
  if (!rule || !rule->nodeTemplate) return;
  for (const auto& name : rule->nodeTemplate.AttributeNames()) {
    uint32_t type = 0;  // as stored: no conversion
    const std::vector<uint8_t> raw = rule->nodeTemplate.GetRaw(name, type);
    node.SetAttribute(name, type, raw.data(), static_cast<uint32_t>(raw.size()));
  }
}

}  // namespace QueriesProcessing
