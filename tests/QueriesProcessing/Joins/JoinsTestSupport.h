#pragma once

#include <functional>
#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

namespace QueriesProcessing::Testing {

// The first node of a text in the node text form, without its <nr> root.
inline VXNodePtr Parse(const std::string& text) {
  if (text.empty()) return VXNodePtr();
  auto nodes = ReadNodeText("<nr>" + text + "</nr>", "test");
  return nodes.empty() ? VXNodePtr() : nodes[0];
}

// One line of node text, for comparing whole trees.
inline std::string Text(const VXNodePtr& node) {
  std::string text = WriteNodeText({node}, VXN_TEXT_NO_DECLARATION);
  const std::string open = "<nr>", close = "</nr>\n";
  if (text.rfind(open, 0) == 0) text.erase(0, open.size());
  if (text.size() >= close.size() &&
      text.compare(text.size() - close.size(), close.size(), close) == 0) {
    text.erase(text.size() - close.size());
  }
  return text;
}

inline HRESULT StatusOf(const std::function<void()>& body) {
  try {
    body();
    return S_OK;
  } catch (const HRX& failure) {
    return failure.code();
  }
}

// Registers %CONDITION% with the processors manager (and nothing else), or
// no processor at all.
inline void RegisterConditions(bool registered = true) {
  CProcessorsManager::Instance().Initialize(Parse(
      registered ? R"(<catalog><_ _name="%CONDITION%" ExcludeColumnBracket='str[]:[]'/></catalog>)"
                 : "<catalog/>"));
}

// What %CONDITION% makes of the request's Conditions.
inline std::string Where(VXNodePtr request) {
  CConditionsProcessor conditions;
  if (Failed(conditions.Initialize(Parse(R"(<_ ExcludeColumnBracket='str[]:[]'/>)"))))
    return "load error";
  std::u16string text = u"%CONDITION%";
  if (Failed(conditions.ProcessNode(request, VXNodePtr(), text))) return "error";
  return ToUtf8(text);
}

}  // namespace QueriesProcessing::Testing
