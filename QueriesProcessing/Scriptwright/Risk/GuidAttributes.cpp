#include "QueriesProcessing/Scriptwright/Risk/GuidAttributes.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "Common/ErrorHandling.h"

namespace QueriesProcessing {

GUID ReadGuidText(std::u16string_view text) {
  const std::optional<GUID> guid = ParseGuid(text);
  if (!guid) ThrowError(E_INVALIDARG, u": '" + std::u16string(text) + u"' is no GUID");
  return *guid;
}

GuidSet ReadGuidSet(const VXNodePtr& node, std::u16string_view name, bool required) {
  const std::optional<uint32_t> type = node.GetAttributeType(name);
  if (type && *type == VXN_EMPTY) return {};
  GuidSet ids;
  for (const std::u16string& text : node.GetStringList(name, required)) {
    ids.insert(ReadGuidText(text));
  }
  return ids;
}

void SetGuidList(const VXNodePtr& node, std::u16string_view name, const GuidSet& ids) {
  std::vector<GUID> values(ids.begin(), ids.end());
  node.SetAttribute(name, VXN_GUID_LIST, values.data(),
                    static_cast<uint32_t>(values.size() * sizeof(GUID)));
}

GuidSet Intersect(const GuidSet& first, const GuidSet& second) {
  GuidSet both;
  std::set_intersection(first.begin(), first.end(), second.begin(), second.end(),
                        std::inserter(both, both.end()), GuidBytesLess());
  return both;
}

}  // namespace QueriesProcessing
