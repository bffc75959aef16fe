#include "QueriesProcessing/Scriptwright/Risk/RiskArguments.h"

#include <optional>

#include "Common/SqlText.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kNull[] = u"NULL";
constexpr uint32_t kBaseType = 0xFF;
// Written as a GUID too, though the node library makes no attribute of it.
constexpr uint32_t kGuidToo = 1;

// "'" + the value with "'" doubled + "'": the plain literal of a GUID.
std::u16string AnsiQuote(std::u16string_view value) {
  std::u16string quoted;
  quoted.reserve(value.size() + 2);
  quoted += u'\'';
  quoted += EscapeStringValue(value);
  quoted += u'\'';
  return quoted;
}

std::u16string Quote(uint32_t baseType, std::u16string_view value) {
  switch (baseType) {
    case kGuidToo:
    case VXN_GUID:
      return AnsiQuote(value);
    case VXN_INT32:
    case VXN_UINT32:
    case VXN_UINT64:
    case VXN_INT64:
    case VXN_BOOL:
      return std::u16string(value);
    default:
      return QuoteStringValue(value);
  }
}

// Every separator, also next to an empty part (JoinStrings leaves out those
// before a leading empty part).
std::u16string JoinAll(const std::vector<std::u16string>& parts) {
  size_t size = parts.empty() ? 0 : parts.size() - 1;
  for (const std::u16string& part : parts) size += part.size();
  std::u16string joined;
  joined.reserve(size);
  for (const std::u16string& part : parts) {
    if (&part != &parts.front()) joined += u',';
    joined += part;
  }
  return joined;
}

// The attribute's values as text; a boolean as the number of its bit.
std::vector<std::u16string> ReadValues(const VXNodePtr& parameters, std::u16string_view name,
                                       uint32_t type) {
  std::vector<std::u16string> values;
  if (type & VXN_LIST) {
    parameters.GetStringList(name, true, values);
  } else {
    values.push_back(parameters.GetString(name));
  }
  if ((type & kBaseType) == VXN_BOOL) {
    for (std::u16string& value : values) value = value == u"true" ? u"1" : u"0";
  }
  return values;
}

std::u16string WriteArgument(const VXNodePtr& argument, const VXNodePtr& parameters) {
  const std::u16string name = argument.GetValue();
  const std::optional<uint32_t> type = parameters.GetAttributeType(name);
  if (!type || (*type & kBaseType) == VXN_EMPTY) return kNull;
  std::vector<std::u16string> values = ReadValues(parameters, name, *type);
  if (values.empty()) return kNull;
  const bool plain = argument.GetBool(u"plain_text", false);
  if (!plain) {
    for (std::u16string& value : values) value = Quote(*type & kBaseType, value);
  }
  if (!(*type & VXN_LIST)) return std::move(values.front());
  std::u16string joined = JoinAll(values);
  return plain ? joined : QuoteStringValue(joined);
}

}  // namespace

std::u16string WriteRiskArguments(const std::vector<VXNodePtr>& arguments,
                                  const VXNodePtr& parameters) {
  std::vector<std::u16string> written;
  written.reserve(arguments.size());
  for (const VXNodePtr& argument : arguments)
    written.push_back(WriteArgument(argument, parameters));
  return JoinAll(written);
}

}  // namespace QueriesProcessing
