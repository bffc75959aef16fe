#include "Host/EnvironmentValues.h"

#include <vector>

#include "Common/FormatString.h"
#include "Common/Nodes/VxnApi.h"

std::optional<std::u16string> AttributeText(const VXNodePtr& node, std::u16string_view name) {
  if (!node) return std::nullopt;
  const std::optional<uint32_t> type = node.GetAttributeType(name);
  if (!type) return std::nullopt;
  if (*type == 0) return std::u16string();
  if ((*type & VXN_LIST) == 0) return node.GetString(name);
  const std::vector<std::u16string> elements = node.GetStringList(name, true);
  std::u16string joined;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (i > 0) joined += u',';
    joined += elements[i];
  }
  return joined;
}

bool SameValue(std::u16string_view a, std::u16string_view b) {
  const std::optional<GUID> first = ParseGuid(a);
  if (!first) return a == b;
  const std::optional<GUID> second = ParseGuid(b);
  return second ? *first == *second : a == b;
}

std::optional<HRESULT> StatusAttribute(const VXNodePtr& node) {
  if (!node.HasAttribute(u"Status")) return std::nullopt;
  return static_cast<HRESULT>(node.GetUInt32(u"Status"));
}

std::u16string StatusText(HRESULT status) {
  return FormatString(u"0x%08X", static_cast<uint32_t>(status));
}
