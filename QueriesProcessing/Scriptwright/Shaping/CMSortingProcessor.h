#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %CMARK_SORTING_CONDITION%: prepares the paging templates.
//
// 1. Between "%CMARK_IJ_COND_START%" and "%CMARK_IJ_COND_END%" every "[" that
//    a letter follows gets "[NextData]." in front, and between
//    "%CMARK_IJ_COND_CURR_START%" and "%CMARK_IJ_COND_CURR_END%" it gets
//    "[CurrentData]."; the character right behind a start token is skipped.
//    The scan is textual and must run after the processors whose text it
//    qualifies. The four markers are then removed.
// 2. "%CMARK_FIRST_SELECT_FIELD%" becomes
//    ", CAST(N'' AS nvarchar(max)) AS [TextWhatAction]" when a sort entry's
//    Column is "What_Action", else nothing.
// 3. "%CMARK_SORTING%" becomes "ORDER BY %SORTING%", or, with a What_Action
//    entry, "ORDER BY " + "[Actions].[What_Action] <Direction>," for each
//    non-RID entry + "[RID] ASC".
// The request's `SortingRoot` is required (0x80070490). No configuration.
class CCMSortingProcessor : public IVariableProcessor {
 public:
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

  // Step 1 for one pair of markers; exposed for its own tests.
  static void QualifyBracketedNames(std::u16string& text, std::u16string_view startToken,
                                    std::u16string_view endToken, std::u16string_view prefix);

 private:
  static void ReplaceFirstSelectField(const std::vector<VXNodePtr>& entries, std::u16string& text);
  static void ReplaceCmarkSorting(const std::vector<VXNodePtr>& entries, std::u16string& text);
};

}  // namespace QueriesProcessing
