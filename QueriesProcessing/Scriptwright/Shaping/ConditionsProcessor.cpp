#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

#include <vector>

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"

namespace QueriesProcessing {

namespace {

// A per-use attribute, with type 0 counting as absent.
std::u16string UseAttribute(const VXNodePtr& variable, std::u16string_view name, std::u16string_view fallback) {
  return variable ? variable.GetString(name, fallback) : std::u16string(fallback);
}

std::u16string AliasPrefix(const VXNodePtr& node) {
  std::u16string alias;
  return node.TryGetString(u"AliasTable", alias) ? EscapeColumnName(alias) + u"." : std::u16string();
}

}  // namespace

HRESULT CConditionsProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CConditionsProcessor::Initialize");
  return OperationFrame("CConditionsProcessor::Initialize", [&] {
    excludeColumnBracket_.clear();
    for (auto& column : config.GetStringList(u"ExcludeColumnBracket", true)) {
      excludeColumnBracket_.insert(std::move(column));
    }
  });
}

HRESULT CConditionsProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CConditionsProcessor::ProcessNode");
  return OperationFrame("CConditionsProcessor::ProcessNode", [&] {
    const VXNodePtr clauses[] = {request.GetChild(u"Conditions"), request.GetChild(u"HavingRoot")};
    const std::u16string tokens[] = {UseAttribute(variable, u"ConditionClauseAlias", u"%CONDITION%"),
                                     UseAttribute(variable, u"HavingClauseAlias", u"%HAVING%")};
    BeforeConditions(request);
    std::u16string result = text;  // the caller's text stays whole if a clause fails
    for (int i = 0; i < 2; ++i) {
      const std::u16string predicate = clauses[i] ? BuildConditionText(clauses[i], request) : u"(1=1)";
      ReplaceAll(result, tokens[i], predicate);
    }
    text = FinishConditionText(request, result);
  });
}

void CConditionsProcessor::BeforeConditions(const VXNodePtr&) {}

std::u16string CConditionsProcessor::FinishConditionText(const VXNodePtr&, const std::u16string& text) {
  return text;
}

std::u16string CConditionsProcessor::BuildConditionText(const VXNodePtr& node, const VXNodePtr& request) {
  const std::u16string type = node.GetType();
  if (type == u"ConditionValues") return BuildComparison(node, node.GetString(u"Comparator", u"="));
  if (type == u"ConditionTimeValues") {
    ApplyTimeOffset(node, request);
    return BuildComparison(node, node.GetString(u"Comparator", u"="));
  }
  if (type == u"ConditionBool") return node.GetBool(u"Value", false) ? u" (1=1) " : u" (2=1) ";
  if (type == u"Condition") return BuildOperator(node, request);
  if (type == u"ConditionsRoot") {
    const uint32_t count = node.ChildCount();
    if (count == 0) return u" (1=1) ";
    std::u16string text;
    for (uint32_t i = 0; i < count; ++i) text += BuildConditionText(node.ChildAt(i), request);
    return text;
  }
  return u"";
}

std::u16string CConditionsProcessor::BuildOperator(const VXNodePtr& node, const VXNodePtr& request) {
  const std::u16string op = node.GetString(u"operator");
  if (op == u"AND" || op == u"OR") {
    const uint32_t count = node.ChildCount();
    if (count == 0) return u" (1=1) ";
    std::vector<std::u16string> parts;
    parts.reserve(count);
    for (uint32_t i = 0; i < count; ++i) parts.push_back(BuildConditionText(node.ChildAt(i), request));
    return u" (" + JoinStrings(parts, u" " + op + u" ") + u") ";
  }
  if (op == u"IN" || op == u"NOT IN") return node.ChildCount() ? BuildInList(node.ChildAt(0), op) : u"(1=1)";
  if (op == u"NOT") {
    return node.ChildCount() ? u" ( NOT" + BuildConditionText(node.ChildAt(0), request) + u" ) " : u"(1=1)";
  }
  return u"";
}

std::u16string CConditionsProcessor::BuildComparison(const VXNodePtr& node, const std::u16string& comparator) const {
  std::u16string text = u" (" + AliasPrefix(node);
  const std::u16string column = node.GetString(u"Columnn");
  const bool bracket = !excludeColumnBracket_.count(column) && node.GetBool(u"EscapeRequired", true);
  text += bracket ? EscapeColumnName(column) : column;
  text += u" ";
  text += comparator;
  if (comparator != u" IS NULL" && comparator != u" IS NOT NULL") {
    text += u" N'";
    text += EscapeStringValue(node.GetString(u"Value"));
    text += u"'";
  }
  text += u") ";
  return text;
}

std::u16string CConditionsProcessor::BuildInList(const VXNodePtr& node, const std::u16string& op) const {
  std::u16string text = u" (" + AliasPrefix(node);
  const std::u16string column = node.GetString(u"Columnn");
  text += node.GetBool(u"EscapeRequired", true) ? EscapeColumnName(column) : column;
  text += u" " + op + u" (";
  // Values are written straight from the list's stored form: an IN list may
  // hold many thousands of them.
  const auto type = node.GetAttributeType(u"Values");
  if (!type) node.GetStringList(u"Values", true);  // raises the missing-attribute failure
  uint32_t asText = VXN_STRING_LIST;
  const std::vector<uint8_t> raw = node.GetRaw(u"Values", asText);
  const bool quote = type != VXN_INT32_LIST && type != VXN_UINT32_LIST;
  const std::u16string_view list(reinterpret_cast<const char16_t*>(raw.data()), raw.size() / sizeof(char16_t));
  text.reserve(text.size() + list.size() + (quote ? list.size() / 2 : 0) + 8);
  for (size_t start = 0; start + 1 < list.size();) {
    const size_t end = list.find(u'\0', start);
    if (start != 0) text += u',';
    const std::u16string_view value = list.substr(start, end - start);
    if (quote) {
      text += u"N'";
      // EscapeStringValue, copying the stretches between quotes in bulk.
      for (size_t from = 0;;) {
        const size_t quoteAt = value.find(u'\'', from);
        text.append(value.substr(from, quoteAt == std::u16string_view::npos ? quoteAt : quoteAt + 1 - from));
        if (quoteAt == std::u16string_view::npos) break;
        text += u'\'';
        from = quoteAt + 1;
      }
      text += u'\'';
    } else {
      text += value;
    }
    start = end + 1;
  }
  text += u")) ";
  return text;
}

void CConditionsProcessor::ApplyTimeOffset(const VXNodePtr& node, const VXNodePtr& request) const {
  std::u16string part, offset;
  if (!request.TryGetString(u"DateTimePart", part) || !request.TryGetString(u"DateTimeOffset", offset)) return;
  node.SetString(u"Value", FormatString(u"DATEADD(%s, %s, %s)", part, offset, node.GetString(u"Value")));
}

}  // namespace QueriesProcessing
