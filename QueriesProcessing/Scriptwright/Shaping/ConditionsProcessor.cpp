#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

#include <optional>
#include <vector>

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "Common/TextBuilder.h"
#include "Common/TextUnits.h"
#include "QueriesProcessing/Scriptwright/Shaping/InListWriter.h"

namespace QueriesProcessing {

using namespace std::string_view_literals;

namespace {

// Room for the text that follows a predicate, so that writing it after a
// large predicate does not copy everything again.
constexpr size_t kClauseRoom = 256;

// A per-use attribute, with type 0 counting as absent.
AttributeText UseAttribute(const VXNodePtr& variable, std::u16string_view name,
                           std::u16string_view fallback) {
  return variable ? variable.GetStringView(name, fallback) : AttributeText(fallback);
}

// Operands of AND and OR tend to be alike: after the first, room for the
// others at its length spares the growing text most of its copies. A long
// first operand (an IN list, say) says nothing of the rest and is not taken
// as their measure.
void MakeRoomForOperands(std::u16string& out, size_t firstLength, uint32_t others) {
  constexpr size_t kLongOperand = 1024;
  if (others == 0 || firstLength > kLongOperand) return;
  // A quarter more than the first's length: later operands often hold
  // longer values (higher numbers, say).
  out.reserve(out.size() + (firstLength + firstLength / 4 + 8) * others + kClauseRoom);
}

void Append(std::u16string& out, std::u16string_view piece) { out.append(piece); }

// "[alias]." or nothing.
size_t AliasSize(const std::optional<AttributeText>& alias) {
  return alias ? EscapedColumnNameSize(*alias) + 1 : 0;
}

char16_t* WriteAlias(char16_t* at, const std::optional<AttributeText>& alias) {
  if (!alias) return at;
  at = WriteEscapedColumnName(at, *alias);
  *at++ = u'.';
  return at;
}

size_t ColumnSize(std::u16string_view column, bool bracket) {
  return bracket ? EscapedColumnNameSize(column) : column.size();
}

char16_t* WriteColumn(char16_t* at, std::u16string_view column, bool bracket) {
  return bracket ? WriteEscapedColumnName(at, column) : WriteText(at, column);
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

HRESULT CConditionsProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                          std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CConditionsProcessor::ProcessNode");
  return OperationFrame("CConditionsProcessor::ProcessNode", [&] {
    const VXNodePtr conditions = request.GetChild(u"Conditions");
    const VXNodePtr having = request.GetChild(u"HavingRoot");
    const AttributeText conditionToken =
        UseAttribute(variable, u"ConditionClauseAlias", u"%CONDITION%"sv);
    const AttributeText havingToken = UseAttribute(variable, u"HavingClauseAlias", u"%HAVING%"sv);
    BeforeConditions(request);
    // `text` stays whole until the end: a failing clause leaves it as it was.
    std::u16string result;
    if (!WriteClause(text, conditionToken, conditions, request, result)) result = text;
    std::u16string withHaving;
    if (WriteClause(result, havingToken, having, request, withHaving)) result.swap(withHaving);
    FinishConditionText(request, result);
    text.swap(result);
  });
}

bool CConditionsProcessor::WriteClause(std::u16string_view source, std::u16string_view token,
                                       const VXNodePtr& clause, const VXNodePtr& request,
                                       std::u16string& out) {
  size_t at = token.empty() ? std::u16string_view::npos : FindToken(source, token, 0);
  if (at == std::u16string_view::npos) {
    std::u16string unused;
    BuildClause(clause, request, unused);
    return false;
  }
  out.clear();
  out.reserve(source.size() + kClauseRoom);
  out.append(source.substr(0, at));
  const size_t start = out.size();
  BuildClause(clause, request, out);
  const size_t length = out.size() - start;
  for (;;) {
    const size_t from = at + token.size();
    at = FindToken(source, token, from);
    out.append(source.substr(from, at == std::u16string_view::npos ? at : at - from));
    if (at == std::u16string_view::npos) return true;
    // Copying from `out` itself is safe: append reads its source before it
    // lets go of old memory.
    out.append(out, start, length);
  }
}

void CConditionsProcessor::BuildClause(const VXNodePtr& clause, const VXNodePtr& request,
                                       std::u16string& out) {
  if (clause) {
    BuildConditionText(clause, request, out);
  } else {
    Append(out, u"(1=1)"sv);
  }
}

void CConditionsProcessor::BeforeConditions(const VXNodePtr&) {}

void CConditionsProcessor::FinishConditionText(const VXNodePtr&, std::u16string&) {}

void CConditionsProcessor::BuildConditionText(const VXNodePtr& node, const VXNodePtr& request,
                                              std::u16string& out) {
  const std::u16string_view type = node.TypeView();
  if (EqualUnits(type, u"ConditionValues"sv)) {
    WriteComparison(node, out);
  } else if (EqualUnits(type, u"ConditionTimeValues"sv)) {
    ApplyTimeOffset(node, request);
    WriteComparison(node, out);
  } else if (EqualUnits(type, u"ConditionBool"sv)) {
    Append(out, node.GetBool(u"Value", false) ? u" (1=1) "sv : u" (2=1) "sv);
  } else if (EqualUnits(type, u"Condition"sv)) {
    BuildOperator(node, request, out);
  } else if (EqualUnits(type, u"ConditionsRoot"sv)) {
    const uint32_t count = node.ChildCount();
    if (count == 0) Append(out, u" (1=1) "sv);
    for (uint32_t i = 0; i < count; ++i) BuildConditionText(node.ChildAt(i), request, out);
  }
}

void CConditionsProcessor::BuildOperator(const VXNodePtr& node, const VXNodePtr& request,
                                         std::u16string& out) {
  const AttributeText op = node.GetStringView(u"operator");
  if (op == u"AND"sv || op == u"OR"sv) {
    const std::u16string_view separator = op == u"AND"sv ? u" AND "sv : u" OR "sv;
    const uint32_t count = node.ChildCount();
    Append(out, u" ("sv);
    if (count == 0) Append(out, u"1=1"sv);
    // A separator goes before a child only once the text inside is not empty.
    const size_t inner = out.size();
    for (uint32_t i = 0; i < count; ++i) {
      if (out.size() != inner) Append(out, separator);
      BuildConditionText(node.ChildAt(i), request, out);
      if (i == 0) MakeRoomForOperands(out, out.size() - inner, count - 1);
    }
    Append(out, u") "sv);
  } else if (op == u"IN"sv || op == u"NOT IN"sv) {
    if (node.ChildCount()) {
      BuildInList(node.ChildAt(0), op, out);
    } else {
      Append(out, u"(1=1)"sv);
    }
  } else if (op == u"NOT"sv) {
    if (node.ChildCount()) {
      Append(out, u" ( NOT"sv);
      BuildConditionText(node.ChildAt(0), request, out);
      Append(out, u" ) "sv);
    } else {
      Append(out, u"(1=1)"sv);
    }
  }
}

bool CConditionsProcessor::IsExcluded(std::u16string_view column) const {
  return !excludeColumnBracket_.empty() && excludeColumnBracket_.contains(column);
}

void CConditionsProcessor::WriteComparison(const VXNodePtr& node, std::u16string& out) const {
  // A large tree holds many comparisons: their attributes are found in one
  // pass, then read in the order a reading one by one would take.
  VXNodePtr::Peeked attributes[] = {
      {u"Comparator"}, {u"AliasTable"}, {u"Columnn"}, {u"EscapeRequired"}, {u"Value"}};
  node.PeekAttributes(attributes);
  const AttributeText comparator = node.GetStringView(attributes[0], u"="sv);
  WriteComparison(node, comparator, std::span(attributes).subspan(1), out);
}

void CConditionsProcessor::BuildComparison(const VXNodePtr& node, std::u16string_view comparator,
                                           std::u16string& out) const {
  VXNodePtr::Peeked attributes[] = {{u"AliasTable"}, {u"Columnn"}, {u"EscapeRequired"}, {u"Value"}};
  node.PeekAttributes(attributes);
  WriteComparison(node, comparator, attributes, out);
}

void CConditionsProcessor::WriteComparison(const VXNodePtr& node, std::u16string_view comparator,
                                           std::span<const VXNodePtr::Peeked> attributes,
                                           std::u16string& out) const {
  const std::optional<AttributeText> alias = node.FindString(attributes[0]);
  const AttributeText column = node.GetStringView(attributes[1]);
  const bool bracket = !IsExcluded(column) && node.GetBool(attributes[2], true);
  std::optional<AttributeText> value;
  if (comparator != u" IS NULL"sv && comparator != u" IS NOT NULL"sv) {
    value = node.GetStringView(attributes[3]);
  }
  // Escaping at most doubles a text: a bound that needs no counting.
  const size_t bound = 2 + (alias ? 2 * alias->size() + 3 : 0) + 2 * column.size() + 2 + 1 +
                       comparator.size() + (value ? 2 * value->size() + 4 : 0) + 2;
  AppendBounded(out, bound, [&](char16_t* at) {
    at = WriteText(at, u" ("sv);
    at = WriteAlias(at, alias);
    at = WriteColumn(at, column, bracket);
    *at++ = u' ';
    at = WriteText(at, comparator);
    if (value) {
      *at++ = u' ';
      at = WriteQuotedStringValue(at, *value);
    }
    return WriteText(at, u") "sv);
  });
}

void CConditionsProcessor::BuildInList(const VXNodePtr& node, std::u16string_view op,
                                       std::u16string& out) const {
  const std::optional<AttributeText> alias = node.FindString(u"AliasTable");
  const AttributeText column = node.GetStringView(u"Columnn");
  const bool bracket = node.GetBool(u"EscapeRequired", true);
  // Values are read straight from the list's stored form: an IN list may hold
  // many thousands of them. Other list types are converted to text first;
  // numbers of the two 32-bit types are written without quotes.
  uint32_t type = VXN_EMPTY;
  std::optional<std::span<const uint8_t>> stored = node.PeekRaw(u"Values", type);
  std::vector<uint8_t> converted;
  if (!stored || type != VXN_STRING_LIST) {
    uint32_t asText = VXN_STRING_LIST;
    converted = node.GetRaw(u"Values", asText);  // raises for a missing or unlisted value
    stored = converted;
  }
  const InListWriter values(std::u16string_view(reinterpret_cast<const char16_t*>(stored->data()),
                                                stored->size() / sizeof(char16_t)),
                            type != VXN_INT32_LIST && type != VXN_UINT32_LIST);
  const size_t size =
      2 + AliasSize(alias) + ColumnSize(column, bracket) + 1 + op.size() + 2 + values.size() + 3;
  char16_t* at = WriteText(GrowBy(out, size + InListWriter::kOverrun), u" ("sv);
  at = WriteAlias(at, alias);
  at = WriteColumn(at, column, bracket);
  *at++ = u' ';
  at = WriteText(at, op);
  at = WriteText(at, u" ("sv);
  at = values.Write(at);
  WriteText(at, u")) "sv);
  out.resize(out.size() - InListWriter::kOverrun);
}

void CConditionsProcessor::ApplyTimeOffset(const VXNodePtr& node, const VXNodePtr& request) const {
  const std::optional<AttributeText> part = request.FindString(u"DateTimePart");
  if (!part) return;
  const std::optional<AttributeText> offset = request.FindString(u"DateTimeOffset");
  if (!offset) return;
  node.SetString(u"Value", FormatString(u"DATEADD(%s, %s, %s)", part->view(), offset->view(),
                                        node.GetStringView(u"Value").view()));
}

}  // namespace QueriesProcessing
