#pragma once

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Helpers/DigestMaker.h"
#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Common/ContinuationMark.h"
#include "QueriesProcessing/Scriptwright/Paging/ContinuationMarkProcessors.h"
#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"
#include "QueriesProcessing/Scriptwright/Targeting/DbTargetCollector.h"
#include "QueriesProcessing/Scriptwright/Targeting/ReplacementPlan.h"

namespace QueriesProcessing {

// The text of the %DB_NAME% processor: one copy of the template for each
// (database, view) pair, joined by a separator.
//
// For each database of the targets, for each of its views (only the first,
// in hash map order, with `oncePerDb`), the pair's text is:
//   1. the template, worked on by the continuation mark processor with the
//      request, the database's DbKey and the request's mark (a failing
//      status is raised);
//   2. then, literally and over the whole copy, in this order:
//        tokens[0] (db_variable)       -> the entry's DbName
//        tokens[1] (schema_variable)   -> SchemaName
//        tokens[2] (view_variable)     -> ViewName
//        tokens[3] (alias_product_id)  -> "[ProductID] = 3 OR [ProductID] = 7",
//                                         the pair's products in ascending order
//        tokens[4] (db_hash_variable)  -> Base64 of the SHA-256 of DbName's
//                                         UTF-16LE bytes (44 characters)
//      Nothing is escaped: the template writes the brackets. Each step scans
//      what the earlier ones put in (see ReplacementPlan).
// The texts are joined as JoinStrings joins them: the separator goes before
// a text when the result so far is not empty. No pair gives "".
//
// Cost. The mark processor's result depends on the database only through
// its mark; when the request carries no mark, or the default processor finds
// no "%CONDITION_CMARK%" in the template, every database gets the same text,
// so the processor runs once and the text is scanned once for all pairs.
// Otherwise the processor runs, and the text is scanned, once per database;
// the views of one database share that text. Each pair then costs one copy
// of its text into the reserved output. A database's failure, or the
// request's (a missing SortingRoot, a bad mark column), is raised before the
// result is handed out: the caller's text is never half written.
//
// One object per call; reads the targets, changes nothing of them.
class FanOutWriter {
 public:
  static constexpr size_t kTokenCount = 5;
  using Tokens = std::array<std::u16string_view, kTokenCount>;

  FanOutWriter(const Tokens& tokens, std::u16string_view separator, bool oncePerDb);

  // Whether the mark processor of `kind` may give databases different texts
  // for this request and template.
  static bool MarkVariesByDatabase(const VXNodePtr& request, ContinuationMarkProcessors::Kind kind,
                                   std::u16string_view templateText);

  std::u16string Write(const DbTargetCollector::Targets& targets, std::u16string_view templateText,
                       const IContinuationMarkProcessor& markProcessor, bool markVariesByDatabase,
                       const VXNodePtr& request,
                       const std::shared_ptr<const CContinuationMark>& mark) const;

 private:
  // One (database, view) pair and the values it puts in.
  struct Pair {
    const ViewEntry* entry;
    const std::u16string* product;
  };
  // The pairs of one database, which share its worked template.
  struct Database {
    std::u16string_view dbKey;
    size_t firstPair;
    size_t pairCount;
  };
  // The digest of the name last written.
  struct LastDigest {
    std::u16string_view name;
    std::u16string text;
  };
  // Pairs mostly share their products: one condition text per set.
  using ProductConditions = std::map<std::set<int32_t>, std::u16string>;

  void CollectPairs(const DbTargetCollector::Targets& targets, std::vector<Database>& databases,
                    std::vector<Pair>& pairs, ProductConditions& conditions) const;
  size_t PlannedSize(const ReplacementPlan& plan, const std::vector<Pair>& pairs) const;
  void AppendPair(std::u16string& out, const ReplacementPlan& plan, const Pair& pair,
                  LastDigest& digest) const;

  Tokens tokens_;
  std::u16string_view separator_;
  bool oncePerDb_;
  DigestHelpers::CDigestMaker digest_;
};

}  // namespace QueriesProcessing
