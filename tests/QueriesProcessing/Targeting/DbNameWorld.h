#pragma once

#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "FakeConfigServer.h"
#include "FakeDataSources.h"
#include "tests/Common/SubsystemHelpers/FakeDatabaseGate.h"

namespace QueriesProcessing {
class CDBNameProcessor;
}

namespace QueriesProcessing::Testing {

// One node from its text form.
VXNodePtr Node(const std::string& text);

// The services a %DB_NAME% processor talks to, served as named instances
// while the object lives: the managed-object history ("ConfigServer.Proxy"),
// the data sources ("DataSourceManager"), the database gate
// ("Core.ServiceClient") and "Core.RequestContextMgr". A service whose flag
// is cleared is not served (its look-up fails with 0x80070490).
class DbNameWorld {
 public:
  DbNameWorld();
  ~DbNameWorld();
  DbNameWorld(const DbNameWorld&) = delete;
  DbNameWorld& operator=(const DbNameWorld&) = delete;

  // A managed object `id` (format 0) of the data source type `type`, filed
  // in the history (ever enabled or not), and served as the node
  // `dataSource` (text form) unless that is empty.
  void AddSource(const std::string& type, const std::string& id, const std::string& dataSource,
                 bool everEnabled = true);

  struct Health {
    std::string db;
    bool available;
    bool mandatory;
  };
  // What the gate reports: one DatabaseHealthEntry per element.
  void SetHealth(const std::vector<Health>& entries);

  // Serves the history and initialises `processor` with the processor
  // node `config` (text form). Returns its status.
  HRESULT Initialize(CDBNameProcessor& processor, const std::string& config);

  FakeConfigServer* server;
  FakeDataSources* dataSources;
  ::Testing::FakeGate* gate;
  ::Testing::FakeContexts* contexts;
  bool serveDataSources = true;
  bool serveGate = true;

 private:
  std::string containers_;
};

// A processor node: the six tokens (%DB_NAME%, %SCHEMA_NAME%, %VIEW_NAME%,
// %CONDITION_PRODUCT_ID%, %DB_HASH%; schema "dbo"), continuation_mark_column
// "RID", and `children` (text form) inside.
std::string ProcessorConfig(const std::string& children);

}  // namespace QueriesProcessing::Testing
