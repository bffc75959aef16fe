#pragma once

#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Common/Nodes/VXNodePtr.h"

// What the database gate says of one database.
struct DBHealthEntry {
  std::u16string DbName;
  bool Available = false;  // the database can be reached now
  bool Mandatory = false;  // the database stays in a statement even when unavailable
};

// The health of the audit databases, as "Service.DatabaseManagementGate"
// tells it at one moment. A processor that fans a statement out over
// databases makes one object per request and asks it for each database, so
// a database that has just gone offline drops out of the next statement.
//
// The service is reached through "Core.ServiceClient" (OpenService of the
// URL "Service.DatabaseManagementGate", then Call), inside a new request
// context of kind 1 that carries no token: an empty node of type
// "RequestContext", entered through "Core.RequestContextMgr" for the length
// of the call and left again also when the call fails (see RequestContext;
// without that component no context is entered).
//
// Wire format:
//   request   a node named "DatabaseHealthRequest", no attributes;
//   response  a node with an optional child named "DatabaseHealthResponse",
//             whose children named "DatabaseHealthEntry" each hold DbName
//             (string), Available and Mandatory (booleans), all required.
//             Other children are ignored.
//
// Not shared: an object belongs to the call that made it; no lock is taken.
// Not copyable: its table lives in an arena of its own.
class CDBHealth {
 public:
  CDBHealth() = default;
  CDBHealth(const CDBHealth&) = delete;
  CDBHealth& operator=(const CDBHealth&) = delete;

  // Asks the gate once and returns its response node. Raises HRX with the
  // failure of "Core.ServiceClient" (missing, OpenService) or of the call.
  VXNodePtr GetHealthInfo();

  // GetHealthInfo, then files each DatabaseHealthEntry by DbName; an entry
  // whose DbName is already filed is skipped (the first counts). A response
  // without DatabaseHealthResponse files nothing and is no failure. An entry
  // without one of its three attributes raises HRX 0x80070490; entries
  // before it stay filed. Failures of GetHealthInfo pass on.
  void LoadHealthInfo();

  // Looks `dbName` up, exactly and case-sensitively. Known: stores the two
  // flags into the pointers that are not null and returns true. Unknown:
  // returns false and leaves both untouched, so that a caller's defaults
  // stand (callers set available false, mandatory true beforehand: a
  // database the gate does not report counts as mandatory).
  bool GetDBInfoByName(std::u16string_view dbName, bool* available, bool* mandatory) const;

 private:
  // The entries and the map's nodes come from an arena freed at once with
  // the object: a gate may report thousands of databases, and each request
  // reads them anew. The map is keyed by a view of the entry's own DbName;
  // the entry is held by its shared pointer, so the name does not move.
  std::pmr::monotonic_buffer_resource arena_;
  std::pmr::unordered_map<std::u16string_view, std::shared_ptr<DBHealthEntry>> entries_{&arena_};
};
