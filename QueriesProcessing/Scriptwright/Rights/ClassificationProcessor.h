#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Common/TextHash.h"
#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

namespace QueriesProcessing {

// %CONDITION_WITH_CLASSES%: %CONDITION% (whose configuration, per-use items
// and clauses it shares) that knows the pseudo column "Classes", a bit mask of
// the classes of an object. A comparison on "Classes" becomes a filter
// statement, `FilterQuery` with these tokens replaced:
//   %CL_NOT%   "NOT" for a negated term, else nothing
//   %CL_DS%    the modificator's `Datasource`, else `DefaultDatasource`
//   %CL_EXT%   the modificator's `Ext`, else `DefaultExt`
//   %CL_MASK%  the mask in decimal (unsigned 64-bit)
// where the modificator is the `query_modificator` keyed by the request's
// `Query_Template_Name` ":" `CurrentCommand`. Both attributes are required as
// soon as a filter is written or a non-empty ConditionsRoot is walked
// (0x80070490 otherwise). The filter text is the catalogue's and is written
// as it stands; the mask is digits.
//
// Configuration, besides `ExcludeColumnBracket`: `FilterQuery`,
// `DefaultDatasource`, `DefaultExt` (strings), `CorrectDBQueries` (string
// list), all required; `query_modificator` children with `QueryName`,
// `Command`, `Datasource`, `Ext`, `Alias`, all required (the first of one key
// counts; children of other types are passed over).
//
// The walk, where it differs from %CONDITION% (all-ones is
// 18446744073709551615):
//   Classes comparison   `Value` (required, unsigned 64-bit): below all-ones,
//                        the filter for that mask, NOT unless `Comparator`
//                        (default "=") is "="; all-ones: " (1=1) " for "<>",
//                        else " (2=1) "
//   AND / OR             the "Classes" children below all-ones are folded:
//                        "=" ORs `Value` into a mask, "<>" into a NOT mask,
//                        any other `Comparator` (required here) drops the
//                        child; after the other children's texts come the
//                        filter of a non-zero mask, then the NOT filter of a
//                        non-zero NOT mask; nothing at all gives " (1=1) "
//   IN / NOT IN          over a "Classes" list: `Values` read as unsigned
//                        64-bit numbers (required); an empty list gives "";
//                        else one filter (NOT for NOT IN) for the OR of the
//                        values, or all-ones when the first value is all-ones
//   ConditionsRoot       under a modificator, every ConditionValues below it
//                        whose column is not in `ExcludeColumnBracket` gets
//                        `AliasTable` := the modificator's `Alias` for the
//                        walk, and loses `AliasTable` afterwards (one the
//                        request brought too)
//   ConditionTimeValues  as %CONDITION%, "Classes" included
// e.g. AND over (Who = ann), (Classes = 1), (Classes = 4), (Classes <> 8):
//   " ( ([Who] = N'ann')  AND <filter of 5> AND <NOT filter of 8>) "
//
// Last, for the templates named in `CorrectDBQueries`, every
// `DefaultDatasource` in the finished text is replaced by the first two name
// parts of the enclosing statement's "FROM [" (DatasourceNameWriter, whose
// failures are 0x80070057, "Couldn't find db name" among them); the failure
// is logged at ERR as "CClassificationProcessor::Finalize failed: ". Other
// templates keep the name. On any failure the text is left as it was.
//
// Runs under the engine's lock; keeps configuration only. It changes the
// request's tree (aliases, time values) on the request's thread.
class CClassificationProcessor : public CConditionsProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;

  void BuildConditionText(const VXNodePtr& condition, const VXNodePtr& request,
                          std::u16string& out) override;
  void FinishConditionText(const VXNodePtr& request, std::u16string& text) override;

 private:
  struct QueryModificator {
    std::u16string datasource;
    std::u16string ext;
    std::u16string alias;
  };

  const QueryModificator* FindModificator(const VXNodePtr& request) const;
  std::u16string MakeFilterText(const VXNodePtr& request, bool negate) const;
  void AppendFilter(const VXNodePtr& request, uint64_t mask, bool negate,
                    std::u16string& out) const;
  void SetAliasTable(const VXNodePtr& root, std::u16string_view alias) const;
  void BuildClassesComparison(const VXNodePtr& node, const VXNodePtr& request,
                              std::u16string& out) const;
  void BuildOperator(const VXNodePtr& node, const VXNodePtr& request, std::u16string& out);
  void BuildFolded(const VXNodePtr& node, const VXNodePtr& request, std::u16string_view separator,
                   std::u16string& out);
  void BuildList(const VXNodePtr& node, const VXNodePtr& request, std::u16string_view op,
                 std::u16string& out) const;
  void BuildRoot(const VXNodePtr& node, const VXNodePtr& request, std::u16string& out);

  std::u16string filterQuery_;
  std::u16string defaultDatasource_;
  std::u16string defaultExt_;
  TextSet correctDbQueries_;
  TextMap<QueryModificator> queryModificators_;
};

}  // namespace QueriesProcessing
