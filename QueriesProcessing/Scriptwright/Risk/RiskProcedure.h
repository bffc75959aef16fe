#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The stored procedure of a risk and its arguments, in the order of the
// call. Each argument node's value names the request attribute it takes; it
// may carry `default_value` (any type) and `plain_text` (boolean, default
// false); see WriteRiskArguments. The nodes are the processor's own copies,
// never changed after they are made.
struct RiskProcedure {
  std::u16string Name;
  std::vector<VXNodePtr> Variables;
};

// A risk's name to its procedure. Risks without overrides share the object
// of their procedure.
using RiskName2Procedure = std::unordered_map<std::u16string, std::shared_ptr<const RiskProcedure>>;

// Reads the procedures of the risk assessment processor's configuration:
//
//   <BaseRiskAssessmentProcedure _value="usp_Risk">      (node type; value: the procedure)
//     <_ _value="MonitoringPlan" order="i32:1"/>         (each child one argument)
//     <_ _value="Top" order="i32:2" plain_text="bool:true"/>
//   </BaseRiskAssessmentProcedure>
//   <_ _name="RiskAssessmentProcedureMapping">          (child by name, required)
//     <_ _name="usp_Risk">                               (by the procedure's name, required)
//       <RiskAssessment _value="Stale accounts"/>        (shares the base procedure)
//       <RiskAssessment _value="Empty groups">           (a copy with overrides)
//         <OverrideVariables order="u32:2" _value="Top" default_value="i32:5"/>
//       </RiskAssessment>
//     </_>
//   </_>
//
// The arguments are sorted by `order` (integer, default 0), a stable sort:
// equal orders keep the configuration's order. A RiskAssessment without
// children files the base procedure; one with children files a copy in which
// each OverrideVariables child (node type) replaces the argument at its
// 1-based `order` (unsigned, required). The first entry of a risk's name
// counts; later ones are read but not filed.
//
// Failures (HRX): the mapping or a procedure's child of it missing, or an
// override's `order` missing, 0x80070490; an `order` of 0 or above the number
// of arguments, 0x80070057.
RiskName2Procedure MakeMappingRiskName2Procedure(const VXNodePtr& config);

}  // namespace QueriesProcessing
