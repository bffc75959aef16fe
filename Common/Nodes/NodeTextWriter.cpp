#include "Common/Nodes/NodeTextWriter.h"

#include "Common/Nodes/NodeValueText.h"
#include "Common/Nodes/VxnNode.h"
#include "Common/Text.h"

namespace {

bool IsNameStart(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_';
}
bool IsNameChar(char16_t c) {
  return IsNameStart(c) || (c >= u'0' && c <= u'9') || c == u'-' || c == u'.';
}

// A name any XML parser takes as it is, with namespaces on: ASCII letters,
// digits, '_', '-', '.', no ':', and not reserved by XML ("xml...") or by
// this form (leading '_').
bool IsPlainXmlName(std::u16string_view name) {
  if (name.empty() || !IsNameStart(name[0]) || name[0] == u'_') return false;
  for (char16_t c : name) {
    if (!IsNameChar(c)) return false;
  }
  const std::u16string_view head = name.substr(0, 3);
  return !(head.size() == 3 && (head[0] | 0x20) == u'x' && (head[1] | 0x20) == u'm' &&
           (head[2] | 0x20) == u'l');
}

std::string Escaped(std::u16string_view text) {
  std::u16string escaped;
  escaped.reserve(text.size() + 8);
  for (char16_t c : text) {
    switch (c) {
      case u'&':
        escaped += u"&amp;";
        break;
      case u'<':
        escaped += u"&lt;";
        break;
      case u'>':
        escaped += u"&gt;";
        break;
      case u'"':
        escaped += u"&quot;";
        break;
      case u'\n':
        escaped += u"&#10;";
        break;
      case u'\r':
        escaped += u"&#13;";
        break;
      case u'\t':
        escaped += u"&#9;";
        break;
      default:
        escaped += c;
    }
  }
  return ToUtf8(escaped);
}

bool NeedsAttributeElements(const VxnNode& node) {
  for (const auto& attribute : node.attributes) {
    if (!IsPlainXmlName(attribute.name)) return true;
  }
  return false;
}

bool IsTyped(const VxnNode& node) { return node.type && IsPlainXmlName(*node.type); }

std::string Tag(const VxnNode& node) { return IsTyped(node) ? ToUtf8(*node.type) : "_"; }

}  // namespace

void NodeTextWriter::HideValues(ValueMask hidden, std::u16string text) {
  hidden_ = std::move(hidden);
  hiddenText_ = std::move(text);
}

void NodeTextWriter::Begin(std::string& out) {
  if (!(flags_ & VXN_TEXT_NO_DECLARATION)) Put("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n", out);
  Put("<nr>", out);
  LineEnd(out);
}

void NodeTextWriter::End(std::string& out) { Put("</nr>\n", out); }

void NodeTextWriter::Add(const VXNodePtr& node, std::string& out) {
  if (!node || !Open(*node.get(), 1, out)) return;
  // The open elements, outermost first, each with its next child to write.
  struct Frame {
    const VxnNode* node;
    size_t next;
  };
  std::vector<Frame> open{{node.get(), 0}};
  while (!open.empty()) {
    Frame& top = open.back();
    if (top.next == top.node->children.size()) {
      Close(*top.node, open.size(), out);
      open.pop_back();
      continue;
    }
    const VxnNode* child = top.node->children[top.next++];
    if (Open(*child, open.size() + 1, out)) open.push_back({child, 0});
  }
}

bool NodeTextWriter::Open(const VxnNode& node, size_t depth, std::string& out) {
  Indent(depth, out);
  Put("<", out);
  Put(Tag(node), out);
  if (node.type && !IsTyped(node)) Attribute("_type", FormatStringValue(*node.type), out);
  if (node.name) Attribute("_name", FormatStringValue(*node.name), out);
  if (node.value) Attribute("_value", FormatStringValue(*node.value), out);
  const bool attributeElements = NeedsAttributeElements(node);
  if (!attributeElements) {
    for (const auto& a : node.attributes) Attribute(ToUtf8(a.name), ValueText(node, a), out);
  }
  if (!attributeElements && node.children.empty()) {
    Put("/>", out);
    LineEnd(out);
    return false;
  }
  Put(">", out);
  LineEnd(out);
  if (attributeElements) AttributeElements(node, depth + 1, out);
  return true;
}

void NodeTextWriter::AttributeElements(const VxnNode& node, size_t depth, std::string& out) {
  for (const auto& a : node.attributes) {
    Indent(depth, out);
    Put("<_attr", out);
    Attribute("_name", FormatStringValue(a.name), out);
    Attribute("_value", ValueText(node, a), out);
    Put("/>", out);
    LineEnd(out);
  }
}

void NodeTextWriter::Close(const VxnNode& node, size_t depth, std::string& out) {
  Indent(depth, out);
  Put("</", out);
  Put(Tag(node), out);
  Put(">", out);
  LineEnd(out);
}

void NodeTextWriter::Attribute(std::string_view name, std::u16string_view value, std::string& out) {
  Put(" ", out);
  Put(name, out);
  Put("=\"", out);
  Put(Escaped(value), out);
  Put("\"", out);
}

std::u16string NodeTextWriter::ValueText(const VxnNode& node, const VxnAttribute& attribute) const {
  if (hidden_ && hidden_(node.type ? std::u16string_view(*node.type) : std::u16string_view(),
                         attribute.name)) {
    return FormatStringValue(hiddenText_);
  }
  return FormatAttributeValue(attribute.type, attribute.value.Bytes());
}

void NodeTextWriter::LineEnd(std::string& out) {
  if (flags_ & VXN_TEXT_INDENT) Put("\n", out);
}

void NodeTextWriter::Indent(size_t depth, std::string& out) {
  if (flags_ & VXN_TEXT_INDENT) PutSpaces(depth * 2, out);
}

void NodeTextWriter::Put(std::string_view bytes, std::string& out) {
  if (omitted_ == 0 && bytes.size() <= limit_ - written_) {
    out += bytes;
    written_ += bytes.size();
    return;
  }
  size_t take = omitted_ == 0 ? limit_ - written_ : 0;
  // Never end the kept part inside a UTF-8 sequence.
  while (take > 0 && (static_cast<unsigned char>(bytes[take]) & 0xC0) == 0x80) --take;
  out.append(bytes.substr(0, take));
  written_ += take;
  omitted_ += bytes.size() - take;
}

void NodeTextWriter::PutSpaces(size_t count, std::string& out) {
  // Indentation is most of a deep tree's text: count it without making it.
  if (omitted_ == 0 && count <= limit_ - written_) {
    out.append(count, ' ');
    written_ += count;
    return;
  }
  const size_t take = omitted_ == 0 ? limit_ - written_ : 0;
  out.append(take, ' ');
  written_ += take;
  omitted_ += count - take;
}

std::string WriteNodeText(const std::vector<VXNodePtr>& nodes, uint32_t flags) {
  NodeTextWriter writer(flags);
  std::string out;
  writer.Begin(out);
  for (const auto& node : nodes) writer.Add(node, out);
  writer.End(out);
  return out;
}
