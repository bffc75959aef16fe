#include "QueriesProcessing/Scriptwright/Joins/PerUse.h"

namespace QueriesProcessing {

std::u16string PerUseString(const VXNodePtr& variable, std::u16string_view name,
                            const std::u16string& stored) {
  std::u16string value;
  if (variable && variable.TryGetString(name, value)) return value;
  return stored;
}

NodeConversions PerUseConversions(const VXNodePtr& variable, const NodeConversions& stored) {
  const VXNodePtr configured = variable ? variable.GetChild(u"NodeConversion") : VXNodePtr();
  if (!configured) return stored;
  NodeConversions fresh;
  fresh.Init(configured);
  return fresh;
}

}  // namespace QueriesProcessing
