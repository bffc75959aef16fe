#pragma once

#include <string>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %WHEN_TIME_PROCESSOR%: rewrites time-of-day ranges on the pseudo column
// `WhenTime` in the request's `Conditions` so that %CONDITION% (which must
// run after it) can render them. Writes no text; only the request changes.
// No configuration.
//
// A range is a parent with exactly two children, the first of which (`a`)
// is the lower end and the second (`b`) the upper end, each a
// ConditionValues with `Value` "hours:minutes:seconds"; it is found from
// either child whose Columnn is exactly "WhenTime" (type ConditionValues
// only: ConditionTimeValues are not visited). Whatever its type, the sibling
// is read as the other end. A WhenTime comparison alone under its parent, or
// with two or more siblings, stays as it is.
//
// The parent's `operator` becomes "AND", `a` gets Comparator ">=" and `b`
// "<" (the upper end is exclusive). When the grandparent is a Condition
// with operator "NOT", the range is negated instead: that NOT becomes "AND",
// `a` gets "<" and `b` ">=". When the upper end then lies before the lower
// one (a range across midnight, or the complement of a range within a day)
// the parent becomes an OR of two AND groups (nodes of the parent's type),
// each closed at the day's end: the lower end with a copy "<=" "23:59:59",
// the upper end with a copy ">=" "00:00:00", the ">=" comparison first.
// Rendered, 22:00:00 to 02:00:00 gives
//   ( (WhenTime >= '22:00:00' AND WhenTime <= '23:59:59')
//     OR (WhenTime >= '00:00:00' AND WhenTime < '02:00:00') )
// and its negation WhenTime < '22:00:00' AND WhenTime >= '02:00:00'.
// The six nodes of a split lose their node names, so that siblings cannot
// collide. Equal ends are not split (an always false range).
//
// Both ends get `NodeIsProcessed` true before their times are read, so a
// range is rewritten once, also when the processor runs again over the same
// request. Failures: a missing Value gives 0x80070490, one that is not three
// numbers 0x80070057 "invalid format time" (see ParseTime); the request has
// then been changed in part and fails.
class CWhenTimeProcessor : public IVariableProcessor {
 public:
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The rewrite above, for one ConditionValues node.
  void ProcessConditionValues(const VXNodePtr& node) const;
};

}  // namespace QueriesProcessing
