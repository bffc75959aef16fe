#include "Common/Nodes/NodeTextReader.h"

#include <pugixml.hpp>

#include <cstring>
#include <fstream>
#include <sstream>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeValueText.h"
#include "Common/Text.h"

namespace {

constexpr unsigned kParseOptions = pugi::parse_escapes | pugi::parse_eol | pugi::parse_cdata;

class Reader {
 public:
  Reader(std::string_view text, std::string_view source) : original_(text), source_(source), buffer_(text) {}

  std::vector<VXNodePtr> Read() {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_buffer_inplace(
        buffer_.data(), buffer_.size(), kParseOptions, pugi::encoding_utf8);
    if (!result) Fail(static_cast<size_t>(result.offset), ToUtf16(result.description()));
    const pugi::xml_node root = document.document_element();
    if (std::strcmp(root.name(), "nr") != 0) Fail(Offset(root.name()), u"the root element must be <nr>");
    RefuseText(root);
    std::vector<VXNodePtr> nodes;
    for (pugi::xml_node child = root.first_child(); child; child = child.next_sibling()) {
      if (child.type() == pugi::node_element) nodes.push_back(Node(child));
    }
    return nodes;
  }

 private:
  VXNodePtr Node(const pugi::xml_node& element) {
    RefuseText(element);
    VXNodePtr node = VXNodePtr::Create(u"");
    const std::string_view tag = element.name();
    if (tag == "_attr") Fail(Offset(element.name()), u"<_attr> must come first in an element");
    if (tag != "_") node.SetType(ToUtf16(tag));
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute; attribute = attribute.next_attribute()) {
      Attribute(node, attribute.name(), attribute.value());
    }
    bool attributesDone = false;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
      if (child.type() != pugi::node_element) continue;
      if (std::string_view(child.name()) == "_attr" && !attributesDone) {
        AttributeElement(node, child);
        continue;
      }
      attributesDone = true;
      node.AddChild(Node(child));
    }
    return node;
  }

  void Attribute(const VXNodePtr& node, std::string_view name, const char* value) {
    const std::u16string text = ToUtf16(value);
    if (name == "_type" || name == "_name" || name == "_value") {
      std::u16string parsed, error;
      if (!ParseStringValue(text, parsed, error)) Fail(Offset(value), error);
      if (name == "_type") node.SetType(parsed);
      else if (name == "_name") node.SetName(parsed);
      else node.SetValue(parsed);
      return;
    }
    if (name.starts_with("_")) Fail(Offset(name.data()), u"unknown reserved attribute '" + ToUtf16(name) + u"'");
    SetTyped(node, ToUtf16(name), text, value);
  }

  void AttributeElement(const VXNodePtr& node, const pugi::xml_node& element) {
    const pugi::xml_attribute name = element.attribute("_name");
    const pugi::xml_attribute value = element.attribute("_value");
    if (!name || !value) Fail(Offset(element.name()), u"<_attr> needs _name and _value");
    std::u16string parsedName, error;
    if (!ParseStringValue(ToUtf16(name.value()), parsedName, error)) Fail(Offset(name.value()), error);
    SetTyped(node, parsedName, ToUtf16(value.value()), value.value());
  }

  void SetTyped(const VXNodePtr& node, const std::u16string& name, const std::u16string& text, const char* where) {
    uint32_t type = 0;
    std::vector<uint8_t> data;
    std::u16string error;
    if (!ParseAttributeValue(text, type, data, error)) Fail(Offset(where), u"attribute '" + name + u"': " + error);
    node.SetAttribute(name, type, data.empty() ? nullptr : data.data(), static_cast<uint32_t>(data.size()));
  }

  // Text content has no place in a node; only blanks between elements.
  void RefuseText(const pugi::xml_node& element) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        Fail(Offset(child.value()), u"text is not allowed between elements; put values in attributes");
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
    ThrowError(E_INVALID_DATA, u": " + ToUtf16(source_) + u":" + ToText(static_cast<int64_t>(line)) + u":" +
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
  std::ifstream in(path, std::ios::binary);
  if (!in) ThrowError(E_FILE_NOT_FOUND, u": cannot read '" + ToUtf16(path) + u"'");
  std::stringstream content;
  content << in.rdbuf();
  return ReadNodeText(content.str(), path);
}
