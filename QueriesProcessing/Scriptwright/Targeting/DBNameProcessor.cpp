#include "QueriesProcessing/Scriptwright/Targeting/DBNameProcessor.h"

#include "Common/Components/NamedInstances.h"
#include "Common/LogScope.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/OperationFrame.h"
#include "QueriesProcessing/Common/ContinuationMark.h"
#include "QueriesProcessing/Scriptwright/Targeting/FanOutWriter.h"
#include "QueriesProcessing/Scriptwright/Targeting/IntListAttribute.h"

namespace QueriesProcessing {

namespace {

// Data source nodes with their children, as the table is built from them.
constexpr uint32_t kWithChildren = 1;

bool HasValue(const VXNodePtr& node, std::u16string_view name) {
  const std::optional<uint32_t> type = node.GetAttributeType(name);
  return type && *type != VXN_EMPTY;
}

}  // namespace

HRESULT CDBNameProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CDBNameProcessor::Initialize");
  return OperationFrame("CDBNameProcessor::Initialize", [&] {
    moHistory_ = std::make_shared<CMOHistory>();
    moHistory_->Initialize();
    const CompPtr<IDataSources> dataSources = GetNamedInstance<IDataSources>(u"DataSourceManager");
    VX_LOG(Severity::DBG, u"Configuration:" << config);
    dbVariable_ = config.GetString(u"db_variable");
    schemaVariable_ = config.GetString(u"schema_variable");
    viewVariable_ = config.GetString(u"view_variable");
    defaultDbSchema_ = config.GetString(u"default_db_schema");
    aliasProductId_ = config.GetString(u"alias_product_id");
    dbHashVariable_ = config.GetString(u"db_hash_variable");
    markProcessors_ = std::make_shared<ContinuationMarkProcessors>(config);
    const DataSourceMapping mapping =
        DataSourceMapping::Read(config.GetChild(u"DataSourceMapping", true));
    config.ForEachChild([&](const VXNodePtr& child) {
      if (child.GetType() == u"DataSource") ReadDataSource(child, mapping, *dataSources.get());
    });
    ready_ = true;
  });
}

void CDBNameProcessor::ReadDataSource(const VXNodePtr& child, const DataSourceMapping& mapping,
                                      IDataSources& dataSources) {
  const std::u16string type = child.GetValue();
  const DataSourceMappingEntry* mapped = mapping.Find(ParseDataSourceType(type));
  if (!mapped) return;
  const std::u16string viewName = child.GetString(u"ViewName");
  const int32_t dbSchema = child.GetInt32(u"db_schema", 0);
  const std::set<int32_t> productIds = mapped->ProductIds();
  VX_LOG(Severity::DBG, u"Data Source ID:" << type);
  std::set<std::u16string> ids;
  moHistory_->GetMObyCollector(type, ids);
  for (const std::u16string& id : ids) {
    VXNodePtr node;
    Check(dataSources.GetDataSource(id, &node, kWithChildren));
    if (!node) {
      VX_LOG(Severity::DBG, u"Not found DS with id:" << id);
      continue;
    }
    VX_LOG(Severity::DBG, u"Found DS:" << node);
    if (node.GetInt32(u"DatabaseSchema", 0) != dbSchema) {
      VX_LOG(Severity::DBG, u"Schema mistmatch!");
      continue;
    }
    // Disabled today but enabled once: its rows are still there to report.
    if (!node.GetBool(u"Enabled", false) && !moHistory_->WasEverEnabled(id)) continue;
    RegisterViews(node, mapped->MandatoryProductId, productIds, viewName, false);
    child.ForEachChild([&](const VXNodePtr& additional) {
      if (additional.GetType() != u"AdditionalView") return;
      const std::u16string additionalName = additional.GetString(u"ViewName");
      const bool explicitOnly = additional.GetBool(u"ExplicitOnly", false);
      const std::set<int32_t> additionalIds =
          HasValue(additional, u"ExplicitProductId")
              ? std::set<int32_t>{additional.GetInt32(u"ExplicitProductId")}
              : productIds;
      RegisterViews(node, mapped->MandatoryProductId, additionalIds, additionalName, explicitOnly);
    });
  }
}

// Every child of a data source node is a further database of it.
void CDBNameProcessor::RegisterViews(const VXNodePtr& dataSource, int32_t productId,
                                     const std::set<int32_t>& productIds,
                                     const std::u16string& viewName, bool explicitOnly) {
  Register(dataSource, productId, productIds, viewName, explicitOnly);
  dataSource.ForEachChild([&](const VXNodePtr& database) {
    Register(database, productId, productIds, viewName, explicitOnly);
  });
}

void CDBNameProcessor::Register(const VXNodePtr& node, int32_t productId,
                                const std::set<int32_t>& productIds, const std::u16string& viewName,
                                bool explicitOnly) {
  ViewEntry entry = ViewEntry::FromNode(node, defaultDbSchema_, viewName, productIds, explicitOnly);
  const std::u16string fullViewName = entry.FullViewName;
  productViews_.Add(productId, std::move(entry));
  VX_LOG(Severity::DBG, u"ProductID:" << productId << u" View:" << fullViewName);
}

HRESULT CDBNameProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                      std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CDBNameProcessor::ProcessNode");
  return OperationFrame("CDBNameProcessor::ProcessNode", [&] {
    if (!ready_) ThrowError(E_INVALID_STATE, u": %DB_NAME% has not been initialised");
    const std::u16string templateName = request.GetString(u"Query_Template_Name");
    const IContinuationMarkProcessor& markProcessor = *markProcessors_->Choose(templateName);
    const auto mark = std::make_shared<const CContinuationMark>(request);
    const int32_t schema = request.GetInt32(u"DBSchema");
    const std::vector<int32_t> auditing = ReadIntList(request, u"Auditing_systems");
    const std::vector<int32_t> suppressedList =
        ReadIntList(request, u"Suppressed_Auditing_systems");
    const std::unordered_set<int32_t> suppressed(suppressedList.begin(), suppressedList.end());

    DbTargetCollector collector(variable ? variable.GetString(u"ExplicitView", u"") : u"", schema);
    OfferProducts(auditing, suppressed, collector);

    const std::u16string separator = variable ? variable.GetString(u"DbNameSeparator", u"") : u"";
    const bool oncePerDb = variable && variable.GetBool(u"once_per_db", false);
    const FanOutWriter writer(
        {dbVariable_, schemaVariable_, viewVariable_, aliasProductId_, dbHashVariable_}, separator,
        oncePerDb);
    const bool varies = FanOutWriter::MarkVariesByDatabase(
        request, ContinuationMarkProcessors::KindOf(templateName), text);
    text = writer.Write(collector.GetTargets(), text, markProcessor, varies, request, mark);
  });
}

void CDBNameProcessor::OfferProducts(const std::vector<int32_t>& auditing,
                                     const std::unordered_set<int32_t>& suppressed,
                                     DbTargetCollector& collector) const {
  if (auditing.empty()) {
    for (const auto& [productId, views] : productViews_.All()) {
      if (!suppressed.contains(productId)) collector.OfferViews(views);
    }
    return;
  }
  for (int32_t productId : auditing) {
    if (suppressed.contains(productId)) continue;
    VX_LOG(Severity::DBG, u"ProductID:" << productId);
    if (const ProductViews::ViewsByName* views = productViews_.Find(productId)) {
      collector.OfferViews(*views);
    }
  }
}

}  // namespace QueriesProcessing
