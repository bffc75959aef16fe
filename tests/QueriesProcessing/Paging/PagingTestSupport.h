#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Common/FormatString.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"
#include "QueriesProcessing/Common/ContinuationMark.h"
#include "QueriesProcessing/Common/MarkElementWriter.h"
#include "QueriesProcessing/Scriptwright/Paging/IContinuationMarkProcessor.h"
#include "QueriesProcessing/Scriptwright/Shaping/OrderedChildren.h"

namespace QueriesProcessing::Testing {

// The database all paging tests write their text for.
inline constexpr std::u16string_view kDbKey = u"[AUDIT]";

// Configuration of the %DB_NAME% processor as the paging classes read it.
inline constexpr const char* kConfig = R"x(<_ continuation_mark_column="RID">
  <MarkEntry Name="When" RequiredCollate="bool:false"/>
  <MarkEntry Name="Who" RequiredCollate="bool:true"/>
  <MarkEntry Name="What_Action" RequiredCollate="bool:true"/>
  <Other Name="Where" RequiredCollate="bool:true"/>
</_>)x";

inline VXNodePtr Parse(const std::string& text) {
  return ReadNodeText("<nr>" + text + "</nr>", "test")[0];
}

// A request of `templateName` sorted by `entries` (node text of sort entries;
// no SortingRoot at all when null), with one mark for kDbKey unless `mark`
// is empty.
inline VXNodePtr Request(const char* entries, const std::vector<MarkColumn>& mark = {},
                         const std::string& templateName = "query_all_data_by_rid_with_cm_sort") {
  std::string text = "<Query Query_Template_Name=\"" + templateName + "\" Continuous=\"bool:true\"";
  if (!mark.empty()) {
    std::string element;
    for (char c : ToUtf8(WriteMarkElement(kDbKey, mark)))
      element += c == '"' ? std::string("\\\"") : std::string(1, c);
    text += " Continuation_Mark='str[]:[\"" + element + "\"]'";
  }
  text += ">";
  if (entries) text += std::string("<_ _name=\"SortingRoot\">") + entries + "</_>";
  return Parse(text + "</Query>");
}

inline std::vector<VXNodePtr> Entries(const VXNodePtr& request) {
  return GetOrderedChildren(request.GetChild(u"SortingRoot", true), u"Order", 0);
}

inline MarkEntry MarkOf(const VXNodePtr& request) {
  return CContinuationMark(request).GetMarkForDB(kDbKey);
}

// Runs `processor` over `text` for kDbKey with the request's own mark: the
// text, or "error 0x...: " and the text as the failed call left it.
inline std::string RunMark(const IContinuationMarkProcessor& processor, const VXNodePtr& request,
                           std::u16string text) {
  const auto mark = std::make_shared<const CContinuationMark>(request);
  const HRESULT status = processor.ProcessNode(request, kDbKey, text, mark);
  if (Failed(status))
    return ToUtf8(FormatString(u"error 0x%08X: ", static_cast<uint32_t>(status)) + text);
  return ToUtf8(text);
}

// `base` with every occurrence of each `from` replaced by its `to`, in order:
// a test pins one whole text and writes the others as its changes. An edit
// that finds nothing spoils the result, so that the comparison fails.
inline std::string Edit(std::string base,
                        const std::vector<std::pair<std::string, std::string>>& edits) {
  for (const auto& [from, to] : edits) {
    size_t at = base.find(from);
    if (at == std::string::npos) return "no \"" + from + "\" in " + base;
    for (; at != std::string::npos; at = base.find(from, at + to.size()))
      base.replace(at, from.size(), to);
  }
  return base;
}

// The status a call raises as HRX, or "none".
template <typename Call>
std::string Raised(Call&& call) {
  try {
    call();
    return "none";
  } catch (const HRX& e) {
    return ToUtf8(FormatString(u"0x%08X", static_cast<uint32_t>(e.code())));
  }
}

}  // namespace QueriesProcessing::Testing
