#include "Common/Nodes/NodeDump.h"

#include "Common/FormatString.h"
#include "Common/Nodes/NodeSerializer.h"
#include "Common/Text.h"

std::u16string DumpNode(const VXNodePtr& node, const NodeDumpMask& mask) {
  if (!node) return u"VXNode[<null>]";
  std::string text;
  CNodeSerializer serializer(VXN_SERIALIZATION_TEXT, VXN_TEXT_INDENT | VXN_TEXT_NO_DECLARATION,
                             [&](std::string_view bytes) { text += bytes; });
  serializer.Serialize({mask.Apply(node)});
  serializer.Finalize();
  std::string_view body = text;
  if (body.starts_with("<nr>\n")) body.remove_prefix(5);
  if (body.ends_with("\n")) body.remove_suffix(1);
  if (body.ends_with("</nr>")) body.remove_suffix(5);
  std::string cut(body);
  if (!cut.ends_with("\n")) cut += '\n';
  return FormatString(u"VXNode[0x%p]:\r\n%s", static_cast<const void*>(node.get()), ToUtf16(cut));
}

LogMessage& operator<<(LogMessage& message, const VXNodePtr& node) {
  return message << DumpNode(node, NodeDumpMask::FromSettings(u""));
}
