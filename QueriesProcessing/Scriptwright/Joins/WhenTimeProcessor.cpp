#include "QueriesProcessing/Scriptwright/Joins/WhenTimeProcessor.h"

#include <string_view>

#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "QueriesProcessing/Scriptwright/Joins/TimeOfDay.h"
#include "QueriesProcessing/Scriptwright/Joins/TreeWalk.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kComparator = u"Comparator";
constexpr std::u16string_view kProcessed = u"NodeIsProcessed";

bool IsRangeEnd(const VXNodePtr& node) {
  std::u16string column;
  return node.TryGetString(u"Columnn", column) && column == u"WhenTime" &&
         !node.GetBool(kProcessed, false);
}

// Turns a NOT above the range into AND; true when there was one.
bool TakeNegation(const VXNodePtr& parent) {
  const VXNodePtr grandparent = parent.Parent();
  if (!grandparent || grandparent.GetType() != u"Condition") return false;
  if (grandparent.GetString(u"operator", u"") != u"NOT") return false;
  grandparent.SetString(u"operator", u"AND");
  return true;
}

// The group of one end and its copy, the ">=" comparison first.
VXNodePtr Group(const VXNodePtr& parent, const VXNodePtr& end, const VXNodePtr& copy) {
  VXNodePtr group = parent.Clone(0);
  group.SetString(u"operator", u"AND");
  group.SetName(u"");
  const bool endFirst = end.GetString(kComparator, u"") == u">=";
  group.AddChild(endFirst ? end : copy);
  group.AddChild(endFirst ? copy : end);
  return group;
}

void SplitAtMidnight(const VXNodePtr& parent, const VXNodePtr& a, const VXNodePtr& b,
                     bool aIsUpper) {
  static constexpr std::u16string_view kStartOfDay = u"00:00:00";
  static constexpr std::u16string_view kEndOfDay = u"23:59:59";
  static constexpr std::u16string_view kFrom = u">=";
  static constexpr std::u16string_view kUpTo = u"<=";
  const VXNodePtr aCopy = a.Clone(0);
  const VXNodePtr bCopy = b.Clone(0);
  parent.RemoveChild(a);
  parent.RemoveChild(b);
  for (const VXNodePtr* node : {&a, &b, &aCopy, &bCopy}) node->SetName(u"");
  const VXNodePtr& lowerCopy = aIsUpper ? bCopy : aCopy;
  const VXNodePtr& upperCopy = aIsUpper ? aCopy : bCopy;
  lowerCopy.SetString(kComparator, kUpTo);
  lowerCopy.SetString(u"Value", kEndOfDay);
  upperCopy.SetString(kComparator, kFrom);
  upperCopy.SetString(u"Value", kStartOfDay);
  const VXNodePtr first = Group(parent, a, aCopy);
  const VXNodePtr second = Group(parent, b, bCopy);
  parent.AddChild(first);
  parent.AddChild(second);
  parent.SetString(u"operator", u"OR");
}

}  // namespace

HRESULT CWhenTimeProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string&) {
  VX_LOG_SCOPE(Severity::DBG, "CWhenTimeProcessor::ProcessNode");
  return OperationFrame("CWhenTimeProcessor::ProcessNode", [&] {
    const VXNodePtr conditions = request.GetChild(u"Conditions");
    if (!conditions) return;
    WalkPreOrder(conditions, true, [this](const VXNodePtr& node) {
      if (node.GetType() == u"ConditionValues") ProcessConditionValues(node);
    });
    VX_LOG(Severity::DBG, u"Query after processing: " << request);
  });
}

void CWhenTimeProcessor::ProcessConditionValues(const VXNodePtr& node) const {
  VX_LOG_SCOPE(Severity::DBG3, "CWhenTimeProcessor::ProcessConditionValues");
  if (!IsRangeEnd(node)) return;
  const VXNodePtr parent = node.Parent();
  if (!parent || parent.ChildCount() != 2) return;
  const VXNodePtr a = parent.ChildAt(0);
  const VXNodePtr b = parent.ChildAt(1);
  a.SetBool(kProcessed, true);
  b.SetBool(kProcessed, true);
  const TimeOfDay timeA = ParseTime(a);
  const TimeOfDay timeB = ParseTime(b);
  const bool negated = TakeNegation(parent);
  a.SetString(kComparator, negated ? u"<" : u">=");
  b.SetString(kComparator, negated ? u">=" : u"<");
  const std::u16string comparatorA = a.GetString(kComparator);
  const bool aIsUpper = comparatorA == u"<=" || comparatorA == u"<";
  parent.SetString(u"operator", u"AND");
  const TimeOfDay& upper = aIsUpper ? timeA : timeB;
  const TimeOfDay& lower = aIsUpper ? timeB : timeA;
  if (!(upper < lower)) return;
  SplitAtMidnight(parent, a, b, aIsUpper);
}

}  // namespace QueriesProcessing
