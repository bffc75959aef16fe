#include "QueriesProcessing/Scriptwright/Rights/ClassificationProcessor.h"

#include <vector>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Rights/DatasourceNameWriter.h"

namespace QueriesProcessing {

using namespace std::string_view_literals;

namespace {

constexpr uint64_t kAllOnes = ~uint64_t{0};
constexpr std::u16string_view kClasses = u"Classes"sv;

bool IsClasses(const VXNodePtr& node) { return node.GetStringView(u"Columnn", u""sv) == kClasses; }

AttributeText ComparatorOf(const VXNodePtr& node) {
  return node.GetStringView(u"Comparator", u"="sv);
}

}  // namespace

HRESULT CClassificationProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CClassificationProcessor::Initialize");
  return OperationFrame("CClassificationProcessor::Initialize", [&] {
    filterQuery_ = config.GetString(u"FilterQuery");
    defaultDatasource_ = config.GetString(u"DefaultDatasource");
    defaultExt_ = config.GetString(u"DefaultExt");
    correctDbQueries_.clear();
    for (auto& name : config.GetStringList(u"CorrectDBQueries", true)) {
      correctDbQueries_.insert(std::move(name));
    }
    queryModificators_.clear();
    config.ForEachChild([this](const VXNodePtr& child) {
      if (child.TypeView() != u"query_modificator"sv) return;
      std::u16string key = child.GetString(u"QueryName") + u":" + child.GetString(u"Command");
      // emplace keeps the first of one key.
      queryModificators_.emplace(
          std::move(key), QueryModificator{child.GetString(u"Datasource"), child.GetString(u"Ext"),
                                           child.GetString(u"Alias")});
    });
    Check(CConditionsProcessor::Initialize(config));
  });
}

const CClassificationProcessor::QueryModificator* CClassificationProcessor::FindModificator(
    const VXNodePtr& request) const {
  std::u16string key = request.GetString(u"Query_Template_Name");
  key += u':';
  key += request.GetStringView(u"CurrentCommand").view();
  const auto found = queryModificators_.find(key);
  return found == queryModificators_.end() ? nullptr : &found->second;
}

std::u16string CClassificationProcessor::MakeFilterText(const VXNodePtr& request,
                                                        bool negate) const {
  std::u16string text = filterQuery_;
  const QueryModificator* modificator = FindModificator(request);
  ReplaceAll(text, u"%CL_NOT%", negate ? u"NOT"sv : u""sv);
  ReplaceAll(text, u"%CL_DS%", modificator ? modificator->datasource : defaultDatasource_);
  ReplaceAll(text, u"%CL_EXT%", modificator ? modificator->ext : defaultExt_);
  return text;
}

void CClassificationProcessor::AppendFilter(const VXNodePtr& request, uint64_t mask, bool negate,
                                            std::u16string& out) const {
  std::u16string text = MakeFilterText(request, negate);
  ReplaceAll(text, u"%CL_MASK%", ToTextUnsigned(mask));
  out += text;
}

void CClassificationProcessor::BuildConditionText(const VXNodePtr& node, const VXNodePtr& request,
                                                  std::u16string& out) {
  const std::u16string_view type = node.TypeView();
  if (type == u"ConditionValues"sv) {
    if (IsClasses(node)) {
      BuildClassesComparison(node, request, out);
    } else {
      BuildComparison(node, ComparatorOf(node), out);
    }
  } else if (type == u"ConditionTimeValues"sv) {
    ApplyTimeOffset(node, request);
    BuildComparison(node, ComparatorOf(node), out);
  } else if (type == u"ConditionBool"sv) {
    out += node.GetBool(u"Value", false) ? u" (1=1) "sv : u" (2=1) "sv;
  } else if (type == u"Condition"sv) {
    BuildOperator(node, request, out);
  } else if (type == u"ConditionsRoot"sv) {
    BuildRoot(node, request, out);
  }
}

void CClassificationProcessor::BuildClassesComparison(const VXNodePtr& node,
                                                      const VXNodePtr& request,
                                                      std::u16string& out) const {
  const uint64_t value = node.GetUInt64(u"Value");
  const AttributeText comparator = ComparatorOf(node);
  if (value != kAllOnes) {
    AppendFilter(request, value, comparator != u"="sv, out);
  } else {
    out += comparator == u"<>"sv ? u" (1=1) "sv : u" (2=1) "sv;
  }
}

void CClassificationProcessor::BuildOperator(const VXNodePtr& node, const VXNodePtr& request,
                                             std::u16string& out) {
  const AttributeText op = node.GetStringView(u"operator");
  if (op == u"AND"sv || op == u"OR"sv) {
    BuildFolded(node, request, op == u"AND"sv ? u" AND "sv : u" OR "sv, out);
  } else if (op == u"IN"sv || op == u"NOT IN"sv) {
    BuildList(node, request, op, out);
  } else if (op == u"NOT"sv) {
    if (node.ChildCount() == 0) {
      out += u"(1=1)"sv;
      return;
    }
    out += u" ( NOT"sv;
    BuildConditionText(node.ChildAt(0), request, out);
    out += u" ) "sv;
  }
}

void CClassificationProcessor::BuildFolded(const VXNodePtr& node, const VXNodePtr& request,
                                           std::u16string_view separator, std::u16string& out) {
  uint64_t mask = 0;
  uint64_t notMask = 0;
  size_t items = 0;
  out += u" ("sv;
  const size_t inner = out.size();
  // A separator goes before an item only once the text inside is not empty.
  const auto next = [&] {
    if (out.size() != inner) out += separator;
    ++items;
  };
  const uint32_t count = node.ChildCount();
  for (uint32_t i = 0; i < count; ++i) {
    const VXNodePtr child = node.ChildAt(i);
    if (IsClasses(child)) {
      const uint64_t value = child.GetUInt64(u"Value");
      if (value != kAllOnes) {
        const AttributeText comparator = child.GetStringView(u"Comparator");
        if (comparator == u"="sv) {
          mask |= value;
        } else if (comparator == u"<>"sv) {
          notMask |= value;
        }
        continue;
      }
    }
    next();
    BuildConditionText(child, request, out);
  }
  if (mask != 0) {
    VX_LOG(Severity::DBG2, u"Set filter mask " << mask);
    next();
    AppendFilter(request, mask, false, out);
  }
  if (notMask != 0) {
    VX_LOG(Severity::DBG2, u"Set filter NOT mask " << notMask);
    next();
    AppendFilter(request, notMask, true, out);
  }
  if (items == 0) out += u"1=1"sv;
  out += u") "sv;
}

void CClassificationProcessor::BuildList(const VXNodePtr& node, const VXNodePtr& request,
                                         std::u16string_view op, std::u16string& out) const {
  if (node.ChildCount() == 0) {
    out += u"(1=1)"sv;
    return;
  }
  const VXNodePtr list = node.ChildAt(0);
  if (!IsClasses(list)) {
    BuildInList(list, op, out);
    return;
  }
  const std::vector<uint64_t> values = list.GetUInt64List(u"Values");
  if (values.empty()) return;
  uint64_t mask = kAllOnes;
  if (values.front() != kAllOnes) {
    mask = 0;
    for (const uint64_t value : values) mask |= value;
  }
  VX_LOG(Severity::DBG2, u"Set filter mask " << mask);
  AppendFilter(request, mask, op == u"NOT IN"sv, out);
}

void CClassificationProcessor::BuildRoot(const VXNodePtr& node, const VXNodePtr& request,
                                         std::u16string& out) {
  const uint32_t count = node.ChildCount();
  if (count == 0) {
    out += u" (1=1) "sv;
    return;
  }
  const QueryModificator* modificator = FindModificator(request);
  if (modificator) SetAliasTable(node, modificator->alias);
  for (uint32_t i = 0; i < count; ++i) BuildConditionText(node.ChildAt(i), request, out);
  if (modificator) SetAliasTable(node, u""sv);
}

void CClassificationProcessor::SetAliasTable(const VXNodePtr& root,
                                             std::u16string_view alias) const {
  VX_LOG(Severity::DBG2, u"SetAliasTable:" << alias);
  // Every node before its children, children in order.
  std::vector<VXNodePtr> pending{root};
  while (!pending.empty()) {
    const VXNodePtr node = std::move(pending.back());
    pending.pop_back();
    if (node.TypeView() == u"ConditionValues"sv && !IsExcluded(node.GetStringView(u"Columnn"))) {
      if (alias.empty()) {
        node.DeleteAttribute(u"AliasTable");
      } else {
        node.SetString(u"AliasTable", alias);
      }
    }
    for (uint32_t i = node.ChildCount(); i-- > 0;) pending.push_back(node.ChildAt(i));
  }
}

void CClassificationProcessor::FinishConditionText(const VXNodePtr& request, std::u16string& text) {
  if (!correctDbQueries_.contains(request.GetStringView(u"Query_Template_Name").view())) return;
  VX_LOG_SCOPE(Severity::DBG, "CClassificationProcessor::Finalize");
  try {
    VX_LOG(Severity::DBG, u"Current command:" << text);
    DatasourceNameWriter(defaultDatasource_).Rewrite(text);
    VX_LOG(Severity::DBG, u"Result command:" << text);
  } catch (const HRX& failure) {
    VX_LOG(Severity::ERR, u"CClassificationProcessor::Finalize failed: " << FormatStatus(failure));
    throw;
  }
}

}  // namespace QueriesProcessing
