#pragma once

#include <cstdint>
#include <string>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %ACCESS_FILTER% and %ALERT_ACCESS_FILTER% (two objects, each with its own
// configuration): turns the caller's rights into one predicate that stands by
// itself, for a template term such as "(%CONDITION%) AND (%ACCESS_FILTER%)".
//
// Configuration, each item overridable by the per-use node for that one call
// (an attribute missing or of type 0 there keeps the processor's value):
//   variable             the text token replaced (required)
//   mo_field             the column holding a managed object's GUID (required)
//   required_permission  the permission the caller must hold (required)
//   mo_permission_param  the GUID attribute of each scope child (required)
//   mo_guid_format       signed 32-bit, default 3: how GUIDs are written,
//                        0 {0DD265D7-9C92-4FC0-9CBE-32D691746561}
//                        1 0DD265D79C924FC09CBE32D691746561
//                        2 0DD265D7-9C92-4FC0-9CBE-32D691746561
//                        3 0dd265d7-9c92-4fc0-9cbe-32d691746561
// A missing required item fails Initialize with 0x80070490. The format is
// not checked there.
//
// The request is not read. The caller's token is the thread's request context
// (GetCallerToken); "Security.PermissionsChecker" is looked up and asked once
// per call, and only when there is a token:
//   no token            every `variable` -> "1=1" (trace at DBG2)
//   kAccessFull         every `variable` -> "1=1"
//   kAccessLimited      every `variable` -> the scope's objects:
//                       [mo_field] IN (N'<guid>',N'<guid>')
//                       a scope without children gives "[mo_field] IN ()",
//                       which the server refuses: the caller is not let
//                       through; a child without the GUID attribute (or with
//                       type 0) gives "1=1" for the whole predicate; a null
//                       scope counts as one without children
//   kAccessMissing      0x80070005, after a WARN "Permission '<name>' is
//                       missing for: <token>"; the text is left as it was
//   any other answer    the text is left as it was, token included
// A format other than 0 to 3 fails with 0x80004005 when the first GUID is
// written, so not for "1=1". A failing checker, or a GUID attribute that the
// node library cannot read as a GUID, fails with that status. The written
// text is not scanned again.
//
// Runs under the engine's lock; keeps configuration only, so calls on
// separate threads are safe as long as Initialize is not running. Must run on
// the request's thread, whose context names the caller.
class CAccessFilterProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // The configuration of one call: the processor's own, or the per-use
  // node's where it has an item.
  struct Settings {
    std::u16string variable;
    std::u16string moField;
    std::u16string requiredPermission;
    std::u16string moPermissionParam;
    int32_t moGuidFormat = 3;
  };

 private:
  Settings Resolve(const VXNodePtr& variable) const;

  Settings settings_;
};

}  // namespace QueriesProcessing
