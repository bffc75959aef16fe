#include "QueriesProcessing/Membership/MembershipTablesConfig.h"

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"
#include "Common/Nodes/NodeDump.h"

namespace QueriesProcessing {
namespace {

std::u16string ReadAlias(const VXNodePtr& node, std::u16string_view name) {
  std::u16string alias = node.GetString(name);
  if (alias.empty()) ThrowError(E_INVALIDARG, u": '" + std::u16string(name) + u"' is empty");
  return alias;
}

int32_t AtLeast(std::u16string_view name, int32_t value, int32_t least) {
  if (value < least) {
    ThrowError(E_INVALIDARG, u": '" + std::u16string(name) + u"' is below " + ToText(least));
  }
  return value;
}

}  // namespace

MembershipTablesConfig MembershipTablesConfig::Read(const VXNodePtr& node) {
  VX_LOG(Severity::DBG, u"MembershipTablesManager config: " << node);
  if (!node) ThrowError(E_NOTFOUND, u": no MembershipTablesManager configuration");
  MembershipTablesConfig config;
  config.sessionIdAlias = ReadAlias(node, u"SessionIdAlias");
  config.tableNameTemplate = node.GetString(u"TableNameTemplate");
  config.tableNameAlias = ReadAlias(node, u"TableNameAlias");
  config.inclusiveAlias = ReadAlias(node, u"InclusiveAlias");
  config.inclusiveColumnName = node.GetString(u"InclusiveColumnName");
  config.exclusiveColumnName = node.GetString(u"ExclusiveColumnName");
  config.checkExistenceQueryTemplate = node.GetString(u"CheckExistenceQueryTemplate");
  config.createTablesQueryTemplate = node.GetString(u"CreateTablesQueryTemplate");
  config.insertQueryTemplate = node.GetString(u"InsertQueryTemplate");
  config.updateStatisticsTemplate = node.GetString(u"UpdateStatisticsTemplate");
  config.createDictQuery = node.GetString(u"CreateDictQuery");
  config.createSessionQueryTemplate = node.GetString(u"CreateSessionQueryTemplate");
  config.dropSessionQueryTemplate = node.GetString(u"DropSessionQueryTemplate");
  config.selectSessionsQuery = node.GetString(u"SelectSessionsQuery");
  config.deleteSessionRecordsQueryTemplate = node.GetString(u"DeleteSessionRecordsQueryTemplate");
  config.retentionRoutineIntervalSec =
      AtLeast(u"RetentionRoutineIntervalSec", node.GetInt32(u"RetentionRoutineIntervalSec"), 0);
  config.sessionLifeTimeSec =
      AtLeast(u"SessionLifeTimeSec", node.GetInt32(u"SessionLifeTimeSec"), 0);
  config.insertBatchSize = AtLeast(u"InsertBatchSize", node.GetInt32(u"InsertBatchSize", 1000), 1);
  return config;
}

}  // namespace QueriesProcessing
