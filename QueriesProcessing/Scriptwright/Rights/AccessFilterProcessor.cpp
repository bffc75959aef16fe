#include "QueriesProcessing/Scriptwright/Rights/AccessFilterProcessor.h"

#include <optional>

#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Rights/CallerToken.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kCheckerName[] = u"Security.PermissionsChecker";
constexpr char16_t kAlwaysTrue[] = u"1=1";
constexpr int32_t kWinErrorAccessDenied = 5;
// "N'" + 38 characters + "'" and a comma, the longest form.
constexpr size_t kLiteralReserve = 42;

void Override(const VXNodePtr& variable, std::u16string_view name, std::u16string& value) {
  if (variable) variable.TryGetString(name, value);
}

bool HasValue(const VXNodePtr& node, std::u16string_view name) {
  const auto type = node.GetAttributeType(name);
  return type && *type != VXN_EMPTY;
}

std::u16string GuidLiteral(const GUID& guid, int32_t format) {
  if (format < 0 || format > 3) {
    ThrowError(E_FAIL, u": mo_guid_format " + ToText(format) + u" is not 0, 1, 2 or 3");
  }
  return QuoteStringValue(FormatGuid(guid, format));
}

std::u16string RestrictionPredicate(const VXNodePtr& scope,
                                    const CAccessFilterProcessor::Settings& settings) {
  const uint32_t count = scope ? scope.ChildCount() : 0;
  std::u16string text = EscapeColumnName(settings.moField) + u" IN (";
  text.reserve(text.size() + count * kLiteralReserve + 1);
  for (uint32_t i = 0; i < count; ++i) {
    const VXNodePtr child = scope.ChildAt(i);
    if (i != 0) text += u',';
    // One child without its GUID drops the whole list and lets every row
    // through, so a checker must name each object it lists.
    if (!HasValue(child, settings.moPermissionParam)) return kAlwaysTrue;
    text += GuidLiteral(child.GetGuid(settings.moPermissionParam), settings.moGuidFormat);
  }
  text += u')';
  return text;
}

AccessCheckResult AskChecker(const VXNodePtr& token, const std::u16string& permission,
                             VXNodePtr& scope) {
  const auto checker = GetNamedInstance<IPermissionsChecker>(kCheckerName);
  AccessCheckResult result = kAccessMissing;
  Check(checker->CheckAccess(token, permission.c_str(), &result, &scope));
  return result;
}

// The text for `variable`, or none when the text stays as it is.
std::optional<std::u16string> PredicateFor(const VXNodePtr& token,
                                           const CAccessFilterProcessor::Settings& settings) {
  if (!token) {
    VX_LOG(Severity::DBG2, u"CheckAccess skipped for in-process call");
    return kAlwaysTrue;
  }
  VX_LOG(Severity::DBG2, u"AuthToken: " << token);
  VXNodePtr scope;
  switch (AskChecker(token, settings.requiredPermission, scope)) {
    case kAccessMissing:
      VX_LOG(Severity::WARN,
             u"Permission '" << settings.requiredPermission << u"' is missing for: " << token);
      Check(HresultFromWin32(kWinErrorAccessDenied));
      return std::nullopt;
    case kAccessLimited:
      VX_LOG(Severity::DBG, u"Restricting access for: " << token);
      return RestrictionPredicate(scope, settings);
    case kAccessFull:
      VX_LOG(Severity::DBG, u"Allowing full access for: " << token);
      return kAlwaysTrue;
  }
  return std::nullopt;
}

}  // namespace

HRESULT CAccessFilterProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CAccessFilterProcessor::Initialize");
  return OperationFrame("CAccessFilterProcessor::Initialize", [&] {
    settings_.variable = config.GetString(u"variable");
    settings_.moField = config.GetString(u"mo_field");
    settings_.requiredPermission = config.GetString(u"required_permission");
    settings_.moPermissionParam = config.GetString(u"mo_permission_param");
    settings_.moGuidFormat = config.GetInt32(u"mo_guid_format", 3);
  });
}

HRESULT CAccessFilterProcessor::ProcessNode(VXNodePtr&, const VXNodePtr& variable,
                                            std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CAccessFilterProcessor::ProcessNode");
  return OperationFrame("CAccessFilterProcessor::ProcessNode", [&] {
    const Settings settings = Resolve(variable);
    const std::optional<std::u16string> predicate = PredicateFor(GetCallerToken(), settings);
    if (predicate) ReplaceAll(text, settings.variable, *predicate);
  });
}

CAccessFilterProcessor::Settings CAccessFilterProcessor::Resolve(const VXNodePtr& variable) const {
  Settings settings = settings_;
  Override(variable, u"variable", settings.variable);
  Override(variable, u"mo_field", settings.moField);
  Override(variable, u"required_permission", settings.requiredPermission);
  Override(variable, u"mo_permission_param", settings.moPermissionParam);
  if (variable) settings.moGuidFormat = variable.GetInt32(u"mo_guid_format", settings.moGuidFormat);
  return settings;
}

}  // namespace QueriesProcessing
