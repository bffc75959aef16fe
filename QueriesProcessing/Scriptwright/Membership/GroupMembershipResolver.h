#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Common/Components/CompPtr.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "QueriesProcessing/Membership/MemberSet.h"
#include "QueriesProcessing/Scriptwright/Membership/MembershipGroups.h"
#include "QueriesProcessing/Scriptwright/Membership/PollClock.h"

namespace QueriesProcessing {

// Account names, compared exactly, in the order the directory gave them.
using AccountNames = MemberSet;

// The members of one group or of several; `exceeded` when a group was cut at
// the limit (reaching it exactly counts).
struct ResolvedMembers {
  AccountNames names;
  bool exceeded = false;
};

// Turns group names into the account names of their members by asking the
// directory service through "Core.ServiceClient".
//
// Configuration (node GroupMembershipResolver, all required, 0x80070490):
//   SitServiceUrl         the service's address
//   CountTryGetData       int32: not-ready answers accepted over one lookup
//   SleepTryGetData       int32: seconds to wait after each not-ready answer
//   RequestedAttribute    string list, sent joined by "," as FieldsList
//   RequestedMemberTypes  string list, sent joined by "," as ScopeFilterValue
// `membersLimit`: the most names taken from one group; none, no limit. The
// first request (type SitRequest, Operation "GetReferralMembership") carries
// PageSize 3000, or the limit when smaller, and with a limit RecordsLimit
// (unsigned 64-bit).
//
// A lookup sends the first request with ObjectID = the group, reads SessionId
// (GUID) from the answer, then sends SitDataRequest{SessionId} until a page
// says IsLastResponce:
//   ResultCode < 0   fails with that code, and ErrorText as its text;
//   ResultCode 1     not ready: counts one try and sleeps SleepTryGetData;
//   ResultCode 0     a page; RootObjectFound other than 1 ends the lookup
//                    with no members (an unknown group); else each child's
//                    NTAccountName (required) is a member;
//   other positive   polls again without counting a try.
// Before each member, a count already above the limit ends the lookup as
// exceeded, so a service that ignores RecordsLimit gives at most limit + 1
// names. CountTryGetData not-ready answers end the lookup: with no data yet
// as 0x80070102 (so at once when it is 0), else with what came.
// A missing SessionId or ResultCode, or no answer, is 0x80070490; the
// transport's failures pass as they are.
//
// Read-only after construction: several threads may resolve at once (the
// template is cloned under a lock, since a tree is one thread's at a time). A
// lookup blocks its thread through all polls and sleeps; nothing cancels it.
class CGroupMembershipResolver {
 public:
  // Opens the service; its failures are raised. `clock` serves the sleeps.
  CGroupMembershipResolver(const VXNodePtr& config, std::optional<uint64_t> membersLimit,
                           std::shared_ptr<const PollClock> clock = PollClock::Steady());

  ResolvedMembers ResolveSingleGroup(const std::u16string& groupName) const;
  // The union over the groups, in the set's order; the limit holds per group,
  // so the union may hold more names than the limit.
  ResolvedMembers ResolveGroups(const GroupNames& groupNames) const;

 private:
  VXNodePtr Send(const VXNodePtr& request) const;

  VXNodePtr FirstRequest(const std::u16string& groupName) const;

  mutable std::mutex templateLock_;
  VXNodePtr requestTemplate_;  // guarded by templateLock_ after construction
  int32_t countTryGetData_ = 0;
  std::optional<uint64_t> membersLimit_;
  PollClock::Duration sleepTryGetData_{};
  CompPtr<IServiceProxy> service_;
  std::shared_ptr<const PollClock> clock_;
};

}  // namespace QueriesProcessing
