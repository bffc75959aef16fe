#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "Common/Guid.h"
#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The history of the reporting settings: which managed objects have existed
// for each collector (data source type), and which managed objects were ever
// enabled. A managed object that is disabled today still counts for the
// targeting processors if it was ever enabled.
//
// Initialize reads "\Tallyvane\ReportingSettingsHistory" once from
// "ConfigServer.Proxy" (ConfigServerClient::GetNode):
//   Containers (required): each child is a managed object; its value is the
//     object's GUID, WasEverEnabled (boolean, default false), and a required
//     child AuditedSystems whose children named AuditedSystemNodeType hold a
//     collector's GUID as their value (children of other names are passed
//     over). An object is filed under its collectors whether or not it was
//     ever enabled.
//   IntegrationAPI, Alerts, SelfAudit (optional, WasEverEnabled): when ever
//     enabled, their fixed managed object is filed under their fixed
//     collector; they never enter the ever-enabled set.
//   Investigations (optional, WasEverEnabled): when ever enabled, its fixed
//     managed object {46353FF1-F051-4D62-A6DC-2F79BB71C5FD} is offered with
//     every collector that GetMObyCollector is asked for.
//
// Managed objects are given as text in format 0: upper case, hyphens,
// braces ("{0DD265D7-9C92-4FC0-9CBE-32D691746561}"). GUID texts that are read
// may be in any of the four forms, either case.
//
// Failures (HRX): the history node, Containers or an AuditedSystems missing,
// 0x80070490; a value in Containers or AuditedSystems (AuditedSystemNodeType)
// that is no GUID, 0x80070057; the proxy missing or failing, its status.
//
// Thread-safety: Initialize once, on one thread; afterwards read-only, and
// the const operations may run on any thread.
class CMOHistory {
 public:
  void Initialize();

  // Replaces `outIds` by the managed objects filed under `collectorId`, plus
  // the Investigations object when that was ever enabled (for any collector,
  // known or not), and returns their number. A `collectorId` that is no
  // GUID raises HRX 0x80070057.
  size_t GetMObyCollector(std::u16string_view collectorId, std::set<std::u16string>& outIds) const;

  // Whether the managed object `id` (a container of the history) was ever
  // enabled. The fixed objects of the built-in systems never are. An `id`
  // that is no GUID raises HRX 0x80070057.
  bool WasEverEnabled(std::u16string_view id) const;

 private:
  void ReadContainer(const VXNodePtr& container);
  void ReadBuiltInSystems(const VXNodePtr& history);

  std::map<GUID, std::set<std::u16string>, GuidBytesLess> collectorObjects_;
  GuidSet everEnabled_;
  bool investigationsEverEnabled_ = false;
};

}  // namespace QueriesProcessing
