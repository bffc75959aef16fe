#include "Common/Nodes/NodeTextReader.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextBytes.h"
#include "Common/Nodes/NodeValueText.h"
#include "Common/Nodes/TreeDepth.h"
#include "Common/Text.h"

namespace {

constexpr unsigned kParseOptions = pugi::parse_escapes | pugi::parse_eol | pugi::parse_cdata;

bool IsAttributeElement(const pugi::xml_node& node) {
  return std::strcmp(node.name(), "_attr") == 0;
}

pugi::xml_node ElementFrom(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

class Reader {
 public:
  Reader(std::string_view text, std::string_view source)
      : original_(text), source_(source), buffer_(text) {}

  std::vector<VXNodePtr> Read() {
    if (const auto fault = FindNodeTextFault(original_)) Fail(fault->offset, fault->message);
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_buffer_inplace(
        buffer_.data(), buffer_.size(), kParseOptions, pugi::encoding_utf8);
    if (!result) Fail(static_cast<size_t>(result.offset), ToUtf16(result.description()));
    const pugi::xml_node root = document.document_element();
    if (std::strcmp(root.name(), "nr") != 0)
      Fail(Offset(root.name()), u"the root element must be <nr>");
    RefuseText(root);
    std::vector<VXNodePtr> nodes;
    for (pugi::xml_node child = ElementFrom(root.first_child()); child;
         child = ElementFrom(child.next_sibling())) {
      nodes.push_back(Tree(child));
    }
    return nodes;
  }

 private:
  // An element still open, with the next of its child elements to read.
  struct Frame {
    VXNodePtr node;
    pugi::xml_node next;
  };

  // Reads without recursion and checks the depth before each step down, so
  // a document of any depth is refused without exhausting the stack.
  VXNodePtr Tree(const pugi::xml_node& top) {
    Frame first;
    first.node = Node(top, first.next);
    std::vector<Frame> open;
    open.push_back(std::move(first));
    while (!open.empty()) {
      const pugi::xml_node element = open.back().next;
      if (!element) {
        if (open.size() == 1) return std::move(open.back().node);
        open.pop_back();
        continue;
      }
      open.back().next = ElementFrom(element.next_sibling());
      if (open.size() >= kMaxTreeDepth) {
        Fail(Offset(element.name()),
             u"the tree is deeper than " + ToText(int64_t{kMaxTreeDepth}) + u" levels");
      }
      Frame child;
      child.node = Node(element, child.next);
      open.back().node.AddChild(child.node);
      open.push_back(std::move(child));
    }
    return VXNodePtr();
  }

  // The node of one element with its attributes; `children` is set to its
  // first child element that is a node.
  VXNodePtr Node(const pugi::xml_node& element, pugi::xml_node& children) {
    RefuseText(element);
    if (IsAttributeElement(element))
      Fail(Offset(element.name()), u"<_attr> must come first in an element");
    VXNodePtr node = VXNodePtr::Create(u"");
    const std::string_view tag = element.name();
    if (tag != "_") node.SetType(ToUtf16(tag));
    Reserved seen;
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute;
         attribute = attribute.next_attribute()) {
      Attribute(node, tag == "_", seen, attribute);
    }
    children = ElementFrom(element.first_child());
    for (; children && IsAttributeElement(children);
         children = ElementFrom(children.next_sibling())) {
      AttributeElement(node, children);
    }
    return node;
  }

  // Which of the reserved attributes an element has given.
  struct Reserved {
    bool type = false, name = false, value = false;
  };

  void Attribute(const VXNodePtr& node, bool untyped, Reserved& seen,
                 const pugi::xml_attribute& attribute) {
    const std::string_view name = attribute.name();
    const char* value = attribute.value();
    bool* given = name == "_type"    ? &seen.type
                  : name == "_name"  ? &seen.name
                  : name == "_value" ? &seen.value
                                     : nullptr;
    if (!given) {
      if (name.starts_with("_"))
        Fail(Offset(name.data()), u"unknown reserved attribute '" + ToUtf16(name) + u"'");
      SetTyped(node, ToUtf16(name), ToUtf16(value), name.data(), value);
      return;
    }
    if (*given) Fail(Offset(name.data()), u"attribute '" + ToUtf16(name) + u"' is given twice");
    *given = true;
    if (given == &seen.type && !untyped) {
      Fail(Offset(name.data()), u"_type belongs on <_>: this element's name is already its type");
    }
    std::u16string parsed, error;
    if (!ParseStringValue(ToUtf16(value), parsed, error)) Fail(Offset(value), error);
    if (given == &seen.type)
      node.SetType(parsed);
    else if (given == &seen.name)
      node.SetName(parsed);
    else
      node.SetValue(parsed);
  }

  void AttributeElement(const VXNodePtr& node, const pugi::xml_node& element) {
    RefuseText(element);
    if (const pugi::xml_node inner = ElementFrom(element.first_child())) {
      Fail(Offset(inner.name()), u"<_attr> holds no elements");
    }
    pugi::xml_attribute name, value;
    for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
      const std::string_view which = a.name();
      pugi::xml_attribute* slot = which == "_name" ? &name : which == "_value" ? &value : nullptr;
      if (!slot) Fail(Offset(a.name()), u"<_attr> takes only _name and _value");
      if (*slot) Fail(Offset(a.name()), u"attribute '" + ToUtf16(which) + u"' is given twice");
      *slot = a;
    }
    if (!name || !value) Fail(Offset(element.name()), u"<_attr> needs _name and _value");
    std::u16string parsedName, error;
    if (!ParseStringValue(ToUtf16(name.value()), parsedName, error))
      Fail(Offset(name.value()), error);
    SetTyped(node, parsedName, ToUtf16(value.value()), element.name(), value.value());
  }

  // `nameAt` and `valueAt` point into the buffer, for messages.
  void SetTyped(const VXNodePtr& node, const std::u16string& name, const std::u16string& text,
                const char* nameAt, const char* valueAt) {
    if (node.HasAttribute(name)) Fail(Offset(nameAt), u"attribute '" + name + u"' is given twice");
    uint32_t type = 0;
    std::vector<uint8_t> data;
    std::u16string error;
    if (!ParseAttributeValue(text, type, data, error))
      Fail(Offset(valueAt), u"attribute '" + name + u"': " + error);
    node.SetAttribute(name, type, data.empty() ? nullptr : data.data(),
                      static_cast<uint32_t>(data.size()));
  }

  // Text content has no place in a node; only blanks between elements.
  void RefuseText(const pugi::xml_node& element) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        Fail(Offset(child.value()),
             u"text is not allowed between elements; put values in attributes");
      }
    }
  }

  size_t Offset(const char* inBuffer) const {
    const char* begin = buffer_.data();
    if (inBuffer < begin || inBuffer > begin + buffer_.size()) return 0;
    return static_cast<size_t>(inBuffer - begin);
  }

  [[noreturn]] void Fail(size_t offset, std::u16string_view message) const {
    size_t line = 1, column = 1;
    for (size_t i = 0; i < offset && i < original_.size(); ++i) {
      if (original_[i] == '\n') {
        ++line;
        column = 1;
      } else if ((static_cast<unsigned char>(original_[i]) & 0xC0) != 0x80) {
        ++column;
      }
    }
    ThrowError(E_INVALID_DATA,
               u": " + ToUtf16(source_) + u":" + ToText(static_cast<int64_t>(line)) + u":" +
                   ToText(static_cast<int64_t>(column)) + u": " + std::u16string(message));
  }

  std::string_view original_;
  std::string_view source_;
  std::string buffer_;  // parsed in place, so names and values point into it
};

}  // namespace

std::vector<VXNodePtr> ReadNodeText(std::string_view utf8, std::string_view sourceName) {
  return Reader(utf8, sourceName).Read();
}

std::vector<VXNodePtr> ReadNodeTextFile(const std::string& path) {
  std::error_code error;
  // Opening a directory succeeds on Linux and reads as empty, which the
  // parser would report as a document without elements.
  if (std::filesystem::is_directory(path, error)) {
    ThrowError(E_INVALIDARG, u": '" + ToUtf16(path) + u"' is a directory, not a node text file");
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) ThrowError(E_FILE_NOT_FOUND, u": cannot read '" + ToUtf16(path) + u"'");
  std::stringstream content;
  content << in.rdbuf();
  return ReadNodeText(content.str(), path);
}
