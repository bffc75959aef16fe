#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"

// What "Security.PermissionsChecker" answers to CheckAccess, from the
// environment's `Permissions` node:
//
//   <Permissions>
//     <Permission Token="auditor" Name="ViewAuditData" Result="i32:1">
//       <_ MoId="guid:{6F1C...}"/>          (the scope's children)
//     </Permission>
//     <Permission Token="admin" Name="ViewAuditData" Result="i32:2"/>
//     <Permission Token="guest" Name="ViewAuditData" Status="u32:2147942405"/>
//   </Permissions>
//
// CheckAccess(token, permission, result, scope):
//   - the first `Permission` child whose `Token` is the token node's name and
//     whose `Name` is `permission` (both exactly) answers: `*result` its
//     `Result`, `*scope` a new node of type `Scope` holding copies of the
//     child's children (none: a scope without children);
//   - that child with a `Status`: the call returns that status, `*result` 0
//     and `*scope` null;
//   - no child answers: 0, `*result` 0 (the permission is missing), `*scope`
//     null;
//   - null `result` or `scope`: 0x80070057.
// A null token has the empty name. Each call is logged at DBG:
// "Security.PermissionsChecker CheckAccess(<token name>, <permission>): " and
// "result <n>", "no permission listed, result 0" or the status.
//
// Keeps a copy of `Permissions` of its own, which it reads under its lock:
// calls may come from any thread at once.
class HostPermissions {
 public:
  // `permissions` may be null: every check answers 0. Children of another
  // type are passed over. Raises HRX 0x80070490 for a `Permission` without
  // `Token` or `Name`, or without `Result` when it has no `Status`, and HRX
  // when one of these holds a value of the wrong kind.
  explicit HostPermissions(const VXNodePtr& permissions);

  HRESULT CheckAccess(const VXNodePtr& token, std::u16string_view permission, int32_t* result,
                      VXNodePtr* scope) const;

 private:
  struct Entry {
    std::u16string token;
    std::u16string name;
    int32_t result = 0;
    std::optional<HRESULT> status;
    VXNodePtr node;
  };
  const Entry* Find(std::u16string_view token, std::u16string_view permission) const;

  VXNodePtr tree_;              // read under lock_
  std::vector<Entry> entries_;  // their nodes lie in tree_
  mutable std::mutex lock_;
};
