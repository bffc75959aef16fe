#include "QueriesProcessing/Scriptwright/Values/UIDProcessor.h"

#include <algorithm>

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"

namespace QueriesProcessing {

HRESULT CUIDProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CUIDProcessor::Initialize");
  return OperationFrame("CUIDProcessor::Initialize", [&] {
    config.GetChild(u"ReplacedEntries", true).ForEachChild([&](const VXNodePtr& entry) {
      if (entry.GetType() != u"ReplacedEntry") return;
      entries_.emplace(entry.GetString(u"IdAttributeName"), entry.GetString(u"ReplacedVariable"));
    });
  });
}

HRESULT CUIDProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CUIDProcessor::ProcessNode");
  return OperationFrame("CUIDProcessor::ProcessNode", [&] {
    for (const auto& [attribute, token] : entries_) {
      std::u16string value;
      if (!request.TryGetString(attribute, value)) continue;
      std::erase_if(value, [](char16_t c) { return c == u'-' || c == u'{' || c == u'}'; });
      ReplaceAll(text, token, value);
    }
  });
}

}  // namespace QueriesProcessing
