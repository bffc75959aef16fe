#include "Common/Nodes/NodeDump.h"

#include <charconv>

#include "Common/FormatString.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Text.h"

namespace {

constexpr size_t kDefaultDumpKB = 1024;
constexpr size_t kKB = 1024;

std::string LeftOutMarker(size_t bytes) {
  return "... (" + std::to_string((bytes + kKB - 1) / kKB) + " KB more left out)\n";
}

}  // namespace

std::u16string DumpNode(const VXNodePtr& node, const NodeDumpMask& mask, size_t maxBytes) {
  if (!node) return u"VXNode[<null>]";
  // The tree alone, as the text form would put it inside its <nr> root.
  NodeTextWriter writer(VXN_TEXT_INDENT | VXN_TEXT_NO_DECLARATION);
  if (!mask.Empty()) {
    writer.HideValues(
        [&](std::u16string_view type, std::u16string_view name) { return mask.Hides(type, name); },
        std::u16string(NodeDumpMask::kMaskText));
  }
  writer.LimitOutput(maxBytes);
  std::string text;
  writer.Add(node, text);
  if (!text.ends_with('\n')) text += '\n';
  if (writer.Omitted()) text += LeftOutMarker(writer.Omitted());
  return FormatString(u"VXNode[0x%p]:\r\n%s", static_cast<const void*>(node.get()), ToUtf16(text));
}

size_t NodeDumpLimitFromSettings() {
  const std::string text = ToUtf8(ReadSettingOrDefault(u"Logger", u"MaxNodeDumpKB", u""));
  size_t kilobytes = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), kilobytes);
  if (text.empty() || error != std::errc() || end != text.data() + text.size())
    kilobytes = kDefaultDumpKB;
  if (kilobytes == 0 || kilobytes > std::numeric_limits<size_t>::max() / kKB) {
    return std::numeric_limits<size_t>::max();
  }
  return kilobytes * kKB;
}

LogMessage& operator<<(LogMessage& message, const VXNodePtr& node) {
  return message << DumpNode(node, NodeDumpMask::FromSettings(u""), NodeDumpLimitFromSettings());
}
