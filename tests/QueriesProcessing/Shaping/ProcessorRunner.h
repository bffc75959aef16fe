#pragma once

#include <string>

#include "Common/Nodes/NodeTextReader.h"
#include "Common/FormatString.h"
#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing::Testing {

inline VXNodePtr Parse(const std::string& text) {
  if (text.empty()) return VXNodePtr();
  auto nodes = ReadNodeText("<nr>" + text + "</nr>", "test");
  return nodes.empty() ? VXNodePtr() : nodes[0];
}

// Loads a processor from `config` and runs it over `text` with `request`
// (and the per-use node `variable`). The result, or "error 0x...: <text>"
// with the text as the failed call left it.
template <typename Processor>
std::string RunProcessor(const std::string& config, VXNodePtr request, std::u16string text,
                         const std::string& variable = "") {
  Processor processor;
  const HRESULT loaded = processor.Initialize(Parse(config));
  if (Failed(loaded)) return ToUtf8(FormatString(u"load error 0x%08X", static_cast<uint32_t>(loaded)));
  const HRESULT status = processor.ProcessNode(request, Parse(variable), text);
  if (Failed(status)) return ToUtf8(FormatString(u"error 0x%08X: ", static_cast<uint32_t>(status)) + text);
  return ToUtf8(text);
}

}  // namespace QueriesProcessing::Testing
