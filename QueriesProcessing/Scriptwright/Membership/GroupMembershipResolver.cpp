#include "QueriesProcessing/Scriptwright/Membership/GroupMembershipResolver.h"

#include <algorithm>

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/SqlText.h"

namespace QueriesProcessing {

namespace {

constexpr char16_t kServiceClientName[] = u"Core.ServiceClient";
constexpr uint64_t kPageSize = 3000;
constexpr int32_t kNotReady = 1;
constexpr int32_t kWin32Timeout = 258;

CompPtr<IServiceProxy> OpenDirectory(const std::u16string& url) {
  const auto client = GetNamedInstance<IServiceClient>(kServiceClientName);
  CompPtr<IServiceProxy> proxy;
  Check(client->OpenService(url.c_str(), 0, IServiceProxy::kIid, proxy.ReceiveVoid()));
  if (!proxy) ThrowError(E_POINTER, u": no proxy of " + url);
  return proxy;
}

VXNodePtr MakeRequestTemplate(const VXNodePtr& config, std::optional<uint64_t> limit) {
  const VXNodePtr request = VXNodePtr::Create(u"SitRequest");
  request.SetString(u"Operation", u"GetReferralMembership");
  request.SetString(u"FieldsList",
                    JoinStrings(config.GetStringList(u"RequestedAttribute", true), u","));
  request.SetString(u"ScopeFilterValue",
                    JoinStrings(config.GetStringList(u"RequestedMemberTypes", true), u","));
  request.SetString(u"ScopeFilterProperty", u"objectClass");
  request.SetString(u"ScopeFilterOperator", u"In");
  const uint64_t pageSize = limit ? std::min(*limit, kPageSize) : kPageSize;
  request.SetUInt32(u"PageSize", static_cast<uint32_t>(pageSize));
  if (limit) request.SetAttribute(u"RecordsLimit", VXN_UINT64, &*limit, sizeof(*limit));
  return request;
}

VXNodePtr MakeDataRequest(const GUID& sessionId) {
  const VXNodePtr request = VXNodePtr::Create(u"SitDataRequest");
  request.SetGuid(u"SessionId", sessionId);
  return request;
}

[[noreturn]] void FailWithServiceCode(int32_t code, const VXNodePtr& answer) {
  std::u16string text;
  answer.TryGetString(u"ErrorText", text);
  ThrowError(code, text.empty() ? std::u16string() : u": " + text);
}

}  // namespace

CGroupMembershipResolver::CGroupMembershipResolver(const VXNodePtr& config,
                                                   std::optional<uint64_t> membersLimit,
                                                   std::shared_ptr<const PollClock> clock)
    : membersLimit_(membersLimit), clock_(std::move(clock)) {
  VX_LOG_SCOPE(Severity::DBG, "CGroupMembershipResolver::CGroupMembershipResolver");
  service_ = OpenDirectory(config.GetString(u"SitServiceUrl"));
  requestTemplate_ = MakeRequestTemplate(config, membersLimit_);
  countTryGetData_ = config.GetInt32(u"CountTryGetData");
  sleepTryGetData_ = std::chrono::seconds(config.GetInt32(u"SleepTryGetData"));
}

VXNodePtr CGroupMembershipResolver::Send(const VXNodePtr& request) const {
  VXNodePtr answer;
  Check(service_->Call(request, &answer));
  if (!answer) ThrowError(E_NOTFOUND, u": no answer from the directory service");
  return answer;
}

VXNodePtr CGroupMembershipResolver::FirstRequest(const std::u16string& groupName) const {
  VXNodePtr request;
  {
    std::lock_guard guard(templateLock_);
    request = requestTemplate_.Clone();
  }
  request.SetString(u"ObjectID", groupName);
  return request;
}

ResolvedMembers CGroupMembershipResolver::ResolveGroups(const GroupNames& groupNames) const {
  VX_LOG_SCOPE(Severity::DBG, "CGroupMembershipResolver::ResolveGroups");
  ResolvedMembers all;
  for (const auto& group : groupNames) {
    ResolvedMembers one = ResolveSingleGroup(group);
    all.names.merge(one.names);
    all.exceeded = all.exceeded || one.exceeded;
  }
  return all;
}

ResolvedMembers CGroupMembershipResolver::ResolveSingleGroup(
    const std::u16string& groupName) const {
  VX_LOG_SCOPE(Severity::DBG, "CGroupMembershipResolver::ResolveSingleGroup");
  VX_LOG(Severity::DBG, u"Resolving group " << groupName);
  const VXNodePtr first = FirstRequest(groupName);
  VX_LOG(Severity::DBG, u"RequestGetGroupMembership: " << first);
  const VXNodePtr started = Send(first);
  VX_LOG(Severity::DBG, u"ResponceGetGroupMembership: " << started);
  const GUID sessionId = started.GetGuid(u"SessionId");

  ResolvedMembers result;
  int32_t tries = 0;
  uint64_t count = 0;
  bool finished = false, gotData = false;
  while (tries < countTryGetData_ && !finished) {
    const VXNodePtr request = MakeDataRequest(sessionId);
    VX_LOG(Severity::DBG, u"RequestData: " << request);
    const VXNodePtr answer = Send(request);
    VX_LOG(Severity::DBG3, u"ResponseData: " << answer);
    const int32_t code = answer.GetInt32(u"ResultCode");
    if (code < 0) FailWithServiceCode(code, answer);
    if (code == kNotReady) {
      ++tries;
      clock_->SleepAbsolute(sleepTryGetData_);
      continue;
    }
    finished = answer.GetBool(u"IsLastResponce", false);
    // Another positive code polls on without counting a try, until a page
    // says it is the last.
    if (code != 0) continue;
    gotData = true;
    if (answer.GetInt32(u"RootObjectFound", 0) != 1) {
      finished = true;
      continue;
    }
    for (uint32_t i = 0, children = answer.ChildCount(); i < children; ++i) {
      // Checked before the insertion: the service cuts at RecordsLimit, and
      // one name more tells a cut list from a complete one.
      if (membersLimit_ && count > *membersLimit_) {
        finished = result.exceeded = true;
        break;
      }
      result.names.insert(answer.ChildAt(i).GetString(u"NTAccountName"));
      ++count;
    }
  }
  // The service cuts at RecordsLimit, so a list of exactly that length may
  // have been cut.
  if (membersLimit_ && count == *membersLimit_) result.exceeded = true;
  if (tries == countTryGetData_ && !gotData) Check(HresultFromWin32(kWin32Timeout));
  return result;
}

}  // namespace QueriesProcessing
