#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

#include <optional>
#include <vector>

#include "Common/FormatString.h"
#include "Common/LogScope.h"
#include "Common/Nodes/StringListView.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "Common/TextBuilder.h"

namespace QueriesProcessing {

namespace {

// Room for the text that follows a predicate, so that writing it after a
// large predicate does not copy everything again.
constexpr size_t kClauseRoom = 256;

// A per-use attribute, with type 0 counting as absent.
AttributeText UseAttribute(const VXNodePtr& variable, std::u16string_view name,
                           std::u16string_view fallback) {
  return variable ? variable.GetStringView(name, fallback) : AttributeText(fallback);
}

void Append(std::u16string& out, std::u16string_view piece) {
  WriteText(GrowBy(out, piece.size()), piece);
}

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

// The values of an IN list, read in place from the stored string list:
// counted first, then written once.
class InListValues {
 public:
  InListValues(std::u16string_view units, bool quote) : units_(units), quote_(quote) {
    size_t terminators = 0;
    size_t quotes = 0;
    for (char16_t unit : units_) {
      terminators += unit == 0;
      quotes += unit == u'\'';
    }
    const size_t count = terminators ? terminators - 1 : 0;
    const size_t chars = units_.size() - terminators;
    size_ = chars + (count ? count - 1 : 0) + (quote_ ? quotes + 3 * count : 0);
  }

  size_t size() const { return size_; }

  // "v1,v2" or "N'v1',N'v2'", quotes in values doubled.
  char16_t* Write(char16_t* at) const {
    bool first = true;
    StringListView(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(units_.data()),
                                            units_.size() * sizeof(char16_t)))
        .ForEach([&](std::u16string_view value) {
          if (!first) *at++ = u',';
          first = false;
          at = quote_ ? WriteQuotedStringValue(at, value) : WriteText(at, value);
        });
    return at;
  }

 private:
  std::u16string_view units_;
  bool quote_;
  size_t size_ = 0;
};

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
        UseAttribute(variable, u"ConditionClauseAlias", u"%CONDITION%");
    const AttributeText havingToken = UseAttribute(variable, u"HavingClauseAlias", u"%HAVING%");
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
    Append(out, u"(1=1)");
  }
}

void CConditionsProcessor::BeforeConditions(const VXNodePtr&) {}

void CConditionsProcessor::FinishConditionText(const VXNodePtr&, std::u16string&) {}

void CConditionsProcessor::BuildConditionText(const VXNodePtr& node, const VXNodePtr& request,
                                              std::u16string& out) {
  const std::u16string_view type = node.TypeView();
  if (type == u"ConditionValues") {
    BuildComparison(node, node.GetStringView(u"Comparator", u"="), out);
  } else if (type == u"ConditionTimeValues") {
    ApplyTimeOffset(node, request);
    BuildComparison(node, node.GetStringView(u"Comparator", u"="), out);
  } else if (type == u"ConditionBool") {
    Append(out, node.GetBool(u"Value", false) ? u" (1=1) " : u" (2=1) ");
  } else if (type == u"Condition") {
    BuildOperator(node, request, out);
  } else if (type == u"ConditionsRoot") {
    const uint32_t count = node.ChildCount();
    if (count == 0) Append(out, u" (1=1) ");
    for (uint32_t i = 0; i < count; ++i) BuildConditionText(node.ChildAt(i), request, out);
  }
}

void CConditionsProcessor::BuildOperator(const VXNodePtr& node, const VXNodePtr& request,
                                         std::u16string& out) {
  const AttributeText op = node.GetStringView(u"operator");
  if (op == u"AND" || op == u"OR") {
    const std::u16string_view separator = op == u"AND" ? u" AND " : u" OR ";
    const uint32_t count = node.ChildCount();
    Append(out, u" (");
    if (count == 0) Append(out, u"1=1");
    // A separator goes before a child only once the text inside is not empty.
    const size_t inner = out.size();
    for (uint32_t i = 0; i < count; ++i) {
      if (out.size() != inner) Append(out, separator);
      BuildConditionText(node.ChildAt(i), request, out);
    }
    Append(out, u") ");
  } else if (op == u"IN" || op == u"NOT IN") {
    if (node.ChildCount()) {
      BuildInList(node.ChildAt(0), op, out);
    } else {
      Append(out, u"(1=1)");
    }
  } else if (op == u"NOT") {
    if (node.ChildCount()) {
      Append(out, u" ( NOT");
      BuildConditionText(node.ChildAt(0), request, out);
      Append(out, u" ) ");
    } else {
      Append(out, u"(1=1)");
    }
  }
}

void CConditionsProcessor::BuildComparison(const VXNodePtr& node, std::u16string_view comparator,
                                           std::u16string& out) const {
  const std::optional<AttributeText> alias = node.FindString(u"AliasTable");
  const AttributeText column = node.GetStringView(u"Columnn");
  const bool bracket =
      !excludeColumnBracket_.contains(column.view()) && node.GetBool(u"EscapeRequired", true);
  std::optional<AttributeText> value;
  if (comparator != u" IS NULL" && comparator != u" IS NOT NULL") {
    value = node.GetStringView(u"Value");
  }
  const size_t size = 2 + AliasSize(alias) + ColumnSize(column, bracket) + 1 + comparator.size() +
                      (value ? 1 + QuotedStringValueSize(*value) : 0) + 2;
  char16_t* at = WriteText(GrowBy(out, size), u" (");
  at = WriteAlias(at, alias);
  at = WriteColumn(at, column, bracket);
  *at++ = u' ';
  at = WriteText(at, comparator);
  if (value) {
    *at++ = u' ';
    at = WriteQuotedStringValue(at, *value);
  }
  WriteText(at, u") ");
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
  const InListValues values(std::u16string_view(reinterpret_cast<const char16_t*>(stored->data()),
                                                stored->size() / sizeof(char16_t)),
                            type != VXN_INT32_LIST && type != VXN_UINT32_LIST);
  const size_t size =
      2 + AliasSize(alias) + ColumnSize(column, bracket) + 1 + op.size() + 2 + values.size() + 3;
  char16_t* at = WriteText(GrowBy(out, size), u" (");
  at = WriteAlias(at, alias);
  at = WriteColumn(at, column, bracket);
  *at++ = u' ';
  at = WriteText(at, op);
  at = WriteText(at, u" (");
  at = values.Write(at);
  WriteText(at, u")) ");
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
