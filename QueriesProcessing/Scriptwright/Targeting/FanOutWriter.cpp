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
  CollectPairs(targets, databases, pairs);
  std::u16string out;
  if (pairs.empty()) return out;
  auto worked = [&](const Database& database) {
    std::u16string text(templateText);
    Check(markProcessor.ProcessNode(request, *database.dbKey, text, mark));
    return text;
  };
  Digests digests;
  if (!markVariesByDatabase) {
    const std::u16string text = worked(databases.front());
    const ReplacementPlan plan(text, tokens_);
    out.reserve(PlannedSize(plan, pairs));
    for (const Pair& pair : pairs) AppendPair(out, plan, pair, digests);
    return out;
  }
  for (const Database& database : databases) {
    const std::u16string text = worked(database);
    const ReplacementPlan plan(text, tokens_);
    // The first database's text stands for all: marks differ little in length.
    if (&database == &databases.front()) out.reserve(PlannedSize(plan, pairs));
    for (size_t i = database.firstPair; i < database.firstPair + database.pairCount; ++i) {
      AppendPair(out, plan, pairs[i], digests);
    }
  }
  return out;
}

void FanOutWriter::CollectPairs(const DbTargetCollector::Targets& targets,
                                std::vector<Database>& databases, std::vector<Pair>& pairs) const {
  databases.reserve(targets.size());
  for (const auto& [dbKey, views] : targets) {
    Database database{&dbKey, pairs.size(), 0};
    for (const auto& [viewName, view] : views) {
      pairs.push_back({view.Entry, ProductCondition(view.ProductIds)});
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
        pair.entry->DbName, pair.entry->SchemaName, pair.entry->ViewName, pair.product, {}};
    size += plan.PlannedSize(values) + plan.Count(kDbHash) * kDigestLength + separator_.size();
  }
  return size;
}

void FanOutWriter::AppendPair(std::u16string& out, const ReplacementPlan& plan, const Pair& pair,
                              Digests& digests) const {
  std::u16string_view values[] = {
      pair.entry->DbName, pair.entry->SchemaName, pair.entry->ViewName, pair.product, {}};
  // The digest is the last value, so the plan's test does not read it; it is
  // made only when the text takes it.
  const bool planned = plan.Admits(values);
  if (!planned || plan.Count(kDbHash) > 0) {
    auto [digest, added] = digests.try_emplace(pair.entry->DbName);
    if (added) digest->second = digest_.MakeDigestText(pair.entry->DbName);
    values[kDbHash] = digest->second;
  }
  if (!out.empty()) out.append(separator_);
  if (planned) {
    plan.AppendPlanned(out, values);
  } else {
    plan.AppendInOrder(out, values);
  }
}

}  // namespace QueriesProcessing
