#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace QueriesProcessing {

// Puts, in place of each occurrence of a data source name in a command text,
// the first two dotted parts of the object that the enclosing statement reads
// from: the last step of %CONDITION_WITH_CLASSES%, whose filter statements
// name a default data source that must become the database of the search.
//
// For an occurrence at P:
//   - the last "FROM [" at or before P is the filter statement's own; the one
//     before it (searched from one unit before the first) is the enclosing
//     statement's; either missing fails with 0x80070057 "Couldn't find db
//     name" (a "FROM [" at the very start has nothing before it);
//   - from its "[", the text up to the second "." after it is the name:
//     "FROM [Srv].[Audit].[dbo].[V]" gives "[Srv].[Audit]";
//   - the occurrence is replaced by that name, and the search goes on at P,
//     so the name itself is searched too.
// Comparisons are exact. The two checks after the dot searches (0x80070057
// "Invalid db name") test the bracket's place, not the dots', and so never
// fail: a name with fewer than two dots after its "[" is not refused but runs
// to the end of the text (the search for the second dot after a missing first
// one starts over at the start of the text, and a dot before the "[" makes an
// unsigned length that wraps around). Such a name holds the occurrence
// itself, and the text grows at every step, as it does for any name that
// holds the data source name. The growth is bounded by TextGrowthGuard
// (0x80070057, "the text grew from ..."). Nothing else can repeat: the text
// before P holds no occurrence, so a name, which starts before P, never
// starts with one, and each step moves P on or shortens the text. On failure
// the text is left as it was.
//
//   DatasourceNameWriter(u"CL_DS").Rewrite(text) with text
//     "SELECT * FROM [S].[A].[dbo].[V] WHERE x IN (SELECT y FROM [t] JOIN CL_DS.[dbo].[m])"
//   gives "... JOIN [S].[A].[dbo].[m])".
//
// The text before the current occurrence never changes again, so it is kept
// in one string that only grows, with the places of its "FROM [" listed as it
// grows; the text from the occurrence on is kept reversed, so that a
// replacement at its front costs the length of the name, not of the text.
// Each replacement is traced at DBG2 ("Replace:" and "Replaced:" with the
// text from P, cut after 256 units). Not thread-safe; one object per text.
class DatasourceNameWriter {
 public:
  explicit DatasourceNameWriter(std::u16string_view datasource);

  void Rewrite(std::u16string& text);

 private:
  size_t Length() const { return done_.size() + rest_.size(); }
  char16_t At(size_t index) const;
  size_t FindDatasource() const;
  void Advance(size_t count);
  size_t LastFromAtOrBefore(size_t position) const;
  size_t FromBefore(size_t position) const;
  bool FromAt(size_t position) const;
  size_t FindDot(size_t from) const;
  std::u16string Slice(size_t begin, size_t end) const;
  std::u16string Excerpt(size_t from) const;
  void ReplaceAtFront(const std::u16string& name);

  std::u16string datasource_;
  std::u16string reversedDatasource_;
  std::u16string done_;        // the text before the current occurrence
  std::u16string rest_;        // the text from it on, reversed
  std::vector<size_t> froms_;  // every "FROM [" that lies wholly in done_
  size_t unscanned_ = 0;       // where in done_ the next "FROM [" may start
};

}  // namespace QueriesProcessing
