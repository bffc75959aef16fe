#include "Common/Nodes/NodeTextWriter.h"

#include "Common/Nodes/NodeValueText.h"
#include "Common/Nodes/VxnNode.h"
#include "Common/Text.h"

namespace {

bool IsNameStart(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_'; }
bool IsNameChar(char16_t c) { return IsNameStart(c) || (c >= u'0' && c <= u'9') || c == u'-' || c == u'.'; }

// A name any XML parser takes as it is, with namespaces on: ASCII letters,
// digits, '_', '-', '.', no ':', and not reserved by XML ("xml...") or by
// this form (leading '_').
bool IsPlainXmlName(std::u16string_view name) {
  if (name.empty() || !IsNameStart(name[0]) || name[0] == u'_') return false;
  for (char16_t c : name) {
    if (!IsNameChar(c)) return false;
  }
  const std::u16string_view head = name.substr(0, 3);
  return !(head.size() == 3 && (head[0] | 0x20) == u'x' && (head[1] | 0x20) == u'm' && (head[2] | 0x20) == u'l');
}

void AppendEscaped(std::u16string_view text, std::string& out) {
  std::u16string escaped;
  escaped.reserve(text.size() + 8);
  for (char16_t c : text) {
    switch (c) {
      case u'&': escaped += u"&amp;"; break;
      case u'<': escaped += u"&lt;"; break;
      case u'>': escaped += u"&gt;"; break;
      case u'"': escaped += u"&quot;"; break;
      case u'\n': escaped += u"&#10;"; break;
      case u'\r': escaped += u"&#13;"; break;
      case u'\t': escaped += u"&#9;"; break;
      default: escaped += c;
    }
  }
  out += ToUtf8(escaped);
}

void Attribute(std::string_view name, std::u16string_view value, std::string& out) {
  out += ' ';
  out += name;
  out += "=\"";
  AppendEscaped(value, out);
  out += '"';
}

bool NeedsAttributeElements(const VxnNode& node) {
  for (const auto& attribute : node.attributes) {
    if (!IsPlainXmlName(attribute.name)) return true;
  }
  return false;
}

}  // namespace

void NodeTextWriter::Begin(std::string& out) const {
  if (!(flags_ & VXN_TEXT_NO_DECLARATION)) out += "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  out += "<nr>";
  if (flags_ & VXN_TEXT_INDENT) out += '\n';
}

void NodeTextWriter::Add(const VXNodePtr& node, std::string& out) const {
  if (node) Element(node.get(), 1, out);
}

void NodeTextWriter::End(std::string& out) const { out += "</nr>\n"; }

void NodeTextWriter::Indent(int depth, std::string& out) const {
  if (flags_ & VXN_TEXT_INDENT) out.append(static_cast<size_t>(depth) * 2, ' ');
}

void NodeTextWriter::Element(HVXNODE handle, int depth, std::string& out) const {
  const VxnNode& node = *handle;
  const bool typed = node.type && IsPlainXmlName(*node.type);
  const std::string tag = typed ? ToUtf8(*node.type) : "_";
  Indent(depth, out);
  out += '<';
  out += tag;
  if (node.type && !typed) Attribute("_type", FormatStringValue(*node.type), out);
  if (node.name) Attribute("_name", FormatStringValue(*node.name), out);
  if (node.value) Attribute("_value", FormatStringValue(*node.value), out);
  const bool attributeElements = NeedsAttributeElements(node);
  if (!attributeElements) {
    for (const auto& a : node.attributes) Attribute(ToUtf8(a.name), FormatAttributeValue(a.type, a.data), out);
  }
  if (!attributeElements && node.children.empty()) {
    out += "/>";
    if (flags_ & VXN_TEXT_INDENT) out += '\n';
    return;
  }
  out += '>';
  if (flags_ & VXN_TEXT_INDENT) out += '\n';
  if (attributeElements) {
    for (const auto& a : node.attributes) {
      Indent(depth + 1, out);
      out += "<_attr";
      Attribute("_name", FormatStringValue(a.name), out);
      Attribute("_value", FormatAttributeValue(a.type, a.data), out);
      out += "/>";
      if (flags_ & VXN_TEXT_INDENT) out += '\n';
    }
  }
  for (const VxnNode* child : node.children) Element(const_cast<VxnNode*>(child), depth + 1, out);
  Indent(depth, out);
  out += "</" + tag + ">";
  if (flags_ & VXN_TEXT_INDENT) out += '\n';
}

std::string WriteNodeText(const std::vector<VXNodePtr>& nodes, uint32_t flags) {
  NodeTextWriter writer(flags);
  std::string out;
  writer.Begin(out);
  for (const auto& node : nodes) writer.Add(node, out);
  writer.End(out);
  return out;
}
