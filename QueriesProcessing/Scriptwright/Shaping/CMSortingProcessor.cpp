#include "QueriesProcessing/Scriptwright/Shaping/CMSortingProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kWhatAction = u"What_Action";

// Letters of the names the templates use: ASCII and the Latin and later
// alphabets (the multiplication and division signs excepted).
bool IsLetter(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= 0xC0 && c != 0xD7 && c != 0xF7);
}

bool SortsByAction(const std::vector<VXNodePtr>& entries) {
  for (const auto& entry : entries) {
    if (entry.GetString(u"Column") == kWhatAction) return true;
  }
  return false;
}

}  // namespace

void CCMSortingProcessor::QualifyBracketedNames(std::u16string& text, std::u16string_view startToken,
                                                std::u16string_view endToken, std::u16string_view prefix) {
  // Positions are taken in the text as it was; the qualified copy is built in
  // one pass, which gives the same text as inserting the prefix in place.
  std::u16string out;
  out.reserve(text.size() + text.size() / 8);
  size_t copied = 0;
  size_t start = text.find(startToken);
  size_t end = text.find(endToken);
  while (start != std::u16string::npos && end != std::u16string::npos) {
    for (size_t p = text.find(u'[', start + startToken.size() + 1); p != std::u16string::npos && p < end;
         p = text.find(u'[', p + 1)) {
      if (p + 1 < text.size() && IsLetter(text[p + 1])) {
        out.append(text, copied, p - copied).append(prefix);
        copied = p;
      }
    }
    start = text.find(startToken, end);
    end = start == std::u16string::npos ? std::u16string::npos : text.find(endToken, start);
  }
  out.append(text, copied);
  ReplaceAll(out, startToken, u"");
  ReplaceAll(out, endToken, u"");
  text.swap(out);
}

void CCMSortingProcessor::ReplaceFirstSelectField(const std::vector<VXNodePtr>& entries, std::u16string& text) {
  constexpr std::u16string_view kToken = u"%CMARK_FIRST_SELECT_FIELD%";
  if (text.find(kToken) == std::u16string::npos) return;
  ReplaceAll(text, kToken, SortsByAction(entries) ? u", CAST(N'' AS nvarchar(max)) AS [TextWhatAction]" : u"");
}

void CCMSortingProcessor::ReplaceCmarkSorting(const std::vector<VXNodePtr>& entries, std::u16string& text) {
  constexpr std::u16string_view kToken = u"%CMARK_SORTING%";
  if (!SortsByAction(entries)) {
    ReplaceAll(text, kToken, u"ORDER BY %SORTING%");
    return;
  }
  std::u16string order = u"ORDER BY ";
  for (const auto& entry : entries) {
    if (entry.GetString(u"Column") == u"RID") continue;
    order += u"[Actions].[What_Action] " + entry.GetString(u"Direction") + u",";
  }
  order += u"[RID] ASC";
  ReplaceAll(text, kToken, order);
}

HRESULT CCMSortingProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CCMSortingProcessor::ProcessNode");
  return OperationFrame("CCMSortingProcessor::ProcessNode", [&] {
    std::u16string result = text;
    QualifyBracketedNames(result, u"%CMARK_IJ_COND_START%", u"%CMARK_IJ_COND_END%", u"[NextData].");
    QualifyBracketedNames(result, u"%CMARK_IJ_COND_CURR_START%", u"%CMARK_IJ_COND_CURR_END%", u"[CurrentData].");
    const auto entries = GetOrderedChildren(request.GetChild(u"SortingRoot", true), u"Order", 0);
    ReplaceFirstSelectField(entries, result);
    ReplaceCmarkSorting(entries, result);
    text.swap(result);
  });
}

}  // namespace QueriesProcessing
