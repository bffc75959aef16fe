#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"

// One `Service` of the environment: its URL and its canned replies, which
// answer the calls made on any proxy of that URL.
//
//   <Service Url="Service.DatabaseManagementGate">
//     <Reply Request="DatabaseHealthRequest">
//       <_>                                        (the response node)
//         <_ _name="DatabaseHealthResponse">
//           <_ _name="DatabaseHealthEntry" DbName="Audit_Files" Available="bool:true"
//              Mandatory="bool:false"/>
//         </_>
//       </_>
//     </Reply>
//   </Service>
//
// Call(request, response):
//   - A `Reply` child matches when its `Request` (default empty) equals the
//     request node's type, or its name when the node has no type, and every
//     attribute of its optional child of type `When` equals the request's
//     attribute of that name, compared as text (AttributeText, SameValue: a
//     number or boolean as its text, GUIDs in any form and case). A request
//     without that attribute does not match.
//   - Of the matching replies, in the file's order, the first that has not
//     answered yet answers; once all have, the last one answers again. So
//     several matching replies answer successive calls in turn, the last one
//     repeating. Each reply counts its turn whichever call it answered.
//   - The reply's answer: its `Status`, when it has one, as the call's status
//     with `*response` null; else 0 and a copy of its first child that is not
//     of type `When` (a reply with no such child gives a null `*response`).
//   - No reply matches: 0x80070490 ("... the service has no reply to <key>").
//   - Null `request` or `response`: 0x80070057.
//   - A service answers at most kMostCalls calls in one run; every further
//     call fails with 0x80004004 ("... the service has answered its N calls
//     of a run"). A caller that polls until an answer changes (a directory
//     lookup polls on as long as its answer says neither ready nor failed)
//     would otherwise poll the last reply forever.
// Each call is logged at DBG: "Core.ServiceClient Call(<url>, <key>): " and
// "reply <n>" (the reply's place among the service's replies, from 1), with
// its status when it has one, or "no reply".
//
// Thread-safe: keeps a copy of its `Service` of its own, which it reads, and
// the turns, under its lock.
class ServiceReplies {
 public:
  // Raises HRX 0x80070490 when `service` has no `Url`, and HRX when a
  // `Status` is no unsigned 32-bit number. Children other than `Reply` are
  // passed over.
  explicit ServiceReplies(const VXNodePtr& service);
  ServiceReplies(const ServiceReplies&) = delete;
  ServiceReplies& operator=(const ServiceReplies&) = delete;

  // One for each `Service` child of `services` (null: none), in order.
  static std::vector<std::shared_ptr<ServiceReplies>> ReadAll(const VXNodePtr& services);

  static constexpr uint32_t kMostCalls = 10000;

  const std::u16string& Url() const { return url_; }
  HRESULT Call(const VXNodePtr& request, VXNodePtr* response);

 private:
  struct Reply {
    std::u16string request;
    VXNodePtr when;    // in tree_
    VXNodePtr answer;  // in tree_
    std::optional<HRESULT> status;
    bool answered = false;  // guarded by lock_
  };
  // The index of the reply that answers `request` now, its turn taken, and
  // a copy of its answer in `answer`.
  std::optional<size_t> TakeTurn(std::u16string_view key, const VXNodePtr& request,
                                 VXNodePtr& answer);

  VXNodePtr tree_;  // read under lock_
  std::u16string url_;
  std::mutex lock_;
  std::vector<Reply> replies_;
  std::atomic<uint32_t> calls_ = 0;
};
