#include "Host/ServiceReplies.h"

#include "Common/Logger.h"
#include "Host/EnvironmentValues.h"

namespace {

constexpr HRESULT kCallsUsedUp = static_cast<HRESULT>(0x80004004);  // operation aborted

constexpr std::u16string_view kWhen = u"When";

VXNodePtr FirstChildOfType(const VXNodePtr& node, std::u16string_view type) {
  for (uint32_t i = 0; i < node.ChildCount(); ++i) {
    if (node.ChildAt(i).GetType() == type) return node.ChildAt(i);
  }
  return VXNodePtr();
}

VXNodePtr FirstChildNotOfType(const VXNodePtr& node, std::u16string_view type) {
  for (uint32_t i = 0; i < node.ChildCount(); ++i) {
    if (node.ChildAt(i).GetType() != type) return node.ChildAt(i);
  }
  return VXNodePtr();
}

bool HoldsAll(const VXNodePtr& request, const VXNodePtr& when) {
  if (!when) return true;
  for (const auto& name : when.AttributeNames()) {
    const std::optional<std::u16string> asked = AttributeText(request, name);
    if (!asked || !SameValue(*AttributeText(when, name), *asked)) return false;
  }
  return true;
}

}  // namespace

ServiceReplies::ServiceReplies(const VXNodePtr& service)
    : tree_(service.Clone()), url_(tree_.GetString(u"Url")) {
  tree_.ForEachChild([this](const VXNodePtr& child) {
    if (child.GetType() != u"Reply") return;
    replies_.push_back({child.GetString(u"Request", u""), FirstChildOfType(child, kWhen),
                        FirstChildNotOfType(child, kWhen), StatusAttribute(child)});
  });
}

std::vector<std::shared_ptr<ServiceReplies>> ServiceReplies::ReadAll(const VXNodePtr& services) {
  std::vector<std::shared_ptr<ServiceReplies>> all;
  if (!services) return all;
  services.ForEachChild([&](const VXNodePtr& child) {
    if (child.GetType() == u"Service") all.push_back(std::make_shared<ServiceReplies>(child));
  });
  return all;
}

std::optional<size_t> ServiceReplies::TakeTurn(std::u16string_view key, const VXNodePtr& request,
                                               VXNodePtr& answer) {
  std::lock_guard guard(lock_);
  std::optional<size_t> turn;
  for (size_t i = 0; i < replies_.size(); ++i) {
    const Reply& reply = replies_[i];
    if (reply.request != key || !HoldsAll(request, reply.when)) continue;
    turn = i;
    if (!reply.answered) break;
  }
  if (!turn) return turn;
  Reply& reply = replies_[*turn];
  reply.answered = true;
  if (reply.answer && !reply.status) answer = reply.answer.Clone();
  return turn;
}

HRESULT ServiceReplies::Call(const VXNodePtr& request, VXNodePtr* response) {
  if (!request || !response) return E_INVALIDARG;
  *response = VXNodePtr();
  const std::u16string type = request.GetType();
  const std::u16string key = type.empty() ? request.GetName() : type;
  if (calls_.fetch_add(1) >= kMostCalls) {
    calls_ = kMostCalls;  // stays put, however many more calls come
    VX_LOG(Severity::DBG, u"Core.ServiceClient Call(" << url_ << u", " << key << u"): no more calls");
    return ReportError(kCallsUsedUp, u": the service has answered its " + ToText(int64_t{kMostCalls}) +
                                    u" calls of a run");
  }
  VXNodePtr answer;
  const std::optional<size_t> turn = TakeTurn(key, request, answer);
  const std::u16string_view call = u"Core.ServiceClient Call(";
  if (!turn) {
    VX_LOG(Severity::DBG, call << url_ << u", " << key << u"): no reply");
    return ReportError(E_NOTFOUND, u": the service has no reply to " + key);
  }
  const Reply& reply = replies_[*turn];
  if (reply.status) {
    VX_LOG(Severity::DBG, call << url_ << u", " << key << u"): reply " << *turn + 1 << u", "
                               << StatusText(*reply.status));
    return *reply.status;
  }
  VX_LOG(Severity::DBG, call << url_ << u", " << key << u"): reply " << *turn + 1);
  *response = std::move(answer);
  return S_OK;
}
