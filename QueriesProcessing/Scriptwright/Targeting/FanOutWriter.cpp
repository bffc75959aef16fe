#include "QueriesProcessing/Scriptwright/Targeting/FanOutWriter.h"

#include "Common/ErrorHandling.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Paging/MarkFragments.h"

namespace QueriesProcessing {

namespace {

constexpr size_t kDbHash = 4;
// Base64 of the 32 bytes of a SHA-256 digest.
constexpr size_t kDigestLength = 44;

std::u16string ProductCondition(const std::set<int32_t>& productIds) {
  std::u16string condition;
  for (int32_t id : productIds) {
    if (!condition.empty()) condition.append(u" OR ");
    condition.append(u"[ProductID] = ").append(ToText(id));
  }
  return condition;
}

}  // namespace

FanOutWriter::FanOutWriter(const Tokens& tokens, std::u16string_view separator, bool oncePerDb)
    : tokens_(tokens),
      separator_(separator),
      oncePerDb_(oncePerDb),
      digest_(DigestHelpers::DigestAlg::Sha256) {}

bool FanOutWriter::MarkVariesByDatabase(const VXNodePtr& request,
                                        ContinuationMarkProcessors::Kind kind,
                                        std::u16string_view templateText) {
  if (!request.GetBool(u"Continuous", false)) return false;
  if (request.GetStringList(u"Continuation_Mark", false).empty()) return false;
  return kind != ContinuationMarkProcessors::Kind::Default ||
         MarkFragments::HoldsToken(templateText, u"%CONDITION_CMARK%");
}

std::u16string FanOutWriter::Write(const DbTargetCollector::Targets& targets,
                                   std::u16string_view templateText,
                                   const IContinuationMarkProcessor& markProcessor,
                                   bool markVariesByDatabase, const VXNodePtr& request,
                                   const std::shared_ptr<const CContinuationMark>& mark) const {
  std::vector<Database> databases;
  std::vector<Pair> pairs;
  ProductConditions conditions;
  CollectPairs(targets, databases, pairs, conditions);
  std::u16string out;
  if (pairs.empty()) return out;
  std::u16string text;
  auto work = [&](const Database& database) {
    text.assign(templateText);
    Check(markProcessor.ProcessNode(request, database.dbKey, text, mark));
  };
  LastDigest digest;
  if (!markVariesByDatabase) {
    work(databases.front());
    const ReplacementPlan plan(text, tokens_);
    out.reserve(PlannedSize(plan, pairs));
    for (const Pair& pair : pairs) AppendPair(out, plan, pair, digest);
    return out;
  }
  for (const Database& database : databases) {
    work(database);
    const ReplacementPlan plan(text, tokens_);
    // The first database's text stands for all: marks differ little in length.
    if (&database == &databases.front()) out.reserve(PlannedSize(plan, pairs));
    for (size_t i = database.firstPair; i < database.firstPair + database.pairCount; ++i) {
      AppendPair(out, plan, pairs[i], digest);
    }
  }
  return out;
}

void FanOutWriter::CollectPairs(const DbTargetCollector::Targets& targets,
                                std::vector<Database>& databases, std::vector<Pair>& pairs,
                                ProductConditions& conditions) const {
  databases.reserve(targets.size());
  for (const auto& [dbKey, views] : targets) {
    Database database{dbKey, pairs.size(), 0};
    for (const auto& [viewName, view] : views) {
      auto [condition, added] = conditions.try_emplace(view.ProductIds);
      if (added) condition->second = ProductCondition(view.ProductIds);
      pairs.push_back({view.Entry, &condition->second});
      ++database.pairCount;
      if (oncePerDb_) break;
    }
    databases.push_back(database);
  }
}

// Exact for the pairs that take the plan; a reservation, not a limit.
size_t FanOutWriter::PlannedSize(const ReplacementPlan& plan,
                                 const std::vector<Pair>& pairs) const {
  size_t size = 0;
  for (const Pair& pair : pairs) {
    const std::u16string_view values[] = {
        pair.entry->DbName, pair.entry->SchemaName, pair.entry->ViewName, *pair.product, {}};
    size += plan.PlannedSize(values) + plan.Count(kDbHash) * kDigestLength + separator_.size();
  }
  return size;
}

void FanOutWriter::AppendPair(std::u16string& out, const ReplacementPlan& plan, const Pair& pair,
                              LastDigest& digest) const {
  std::u16string_view values[] = {
      pair.entry->DbName, pair.entry->SchemaName, pair.entry->ViewName, *pair.product, {}};
  // The digest is the last value, so the plan's test does not read it; it is
  // made only when the text takes it. The pairs of a database come one after
  // the other and mostly share its name.
  const bool planned = plan.Admits(values);
  if (!planned || plan.Count(kDbHash) > 0) {
    if (digest.name != pair.entry->DbName || digest.text.empty()) {
      digest.name = pair.entry->DbName;
      digest.text = digest_.MakeDigestText(pair.entry->DbName);
    }
    values[kDbHash] = digest.text;
  }
  if (!out.empty()) out.append(separator_);
  if (planned) {
    plan.AppendPlanned(out, values);
  } else {
    plan.AppendInOrder(out, values);
  }
}

}  // namespace QueriesProcessing
