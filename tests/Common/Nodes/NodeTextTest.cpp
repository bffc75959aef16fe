#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeDeserializer.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/Nodes/NodeSerializer.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Nodes/TreeDepth.h"
#include "Common/Text.h"

namespace {

VXNodePtr ReadOne(std::string_view text) {
  auto nodes = ReadNodeText(text, "test.xml");
  EXPECT_EQ(nodes.size(), 1u);
  return nodes.empty() ? VXNodePtr() : nodes[0];
}

std::string ErrorOf(std::string_view text) {
  try {
    ReadNodeText(text, "test.xml");
  } catch (const HRX& failure) {
    return ToUtf8(FormatStatus(failure, kOmitLocation));
  }
  return "no error";
}

void SetRaw(const VXNodePtr& node, std::u16string_view name, uint32_t type,
            std::vector<uint8_t> data) {
  node.SetAttribute(name, type, data.empty() ? nullptr : data.data(),
                    static_cast<uint32_t>(data.size()));
}

std::vector<uint8_t> Bytes(std::u16string_view text) {
  std::vector<uint8_t> bytes(text.size() * 2);
  std::memcpy(bytes.data(), text.data(), bytes.size());
  return bytes;
}

TEST(NodeTextTest, EveryValueRoundTripsExactly) {
  const std::u16string longText(300, u'x');
  const GUID guid = MakeGuid(u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");
  VXNodePtr node = VXNodePtr::Create(u"Query", u"the name");
  node.SetValue(u"node value\nwith a line");
  struct Case {
    std::u16string name;
    uint32_t type;
    std::vector<uint8_t> data;
  } cases[] = {
      {u"plain", VXN_STRING,
       Bytes(std::u16string(u"SELECT *\r\n\tFROM t WHERE a < 'b' & \"c\" > d", 40) + u'\0')},
      {u"long", VXN_STRING, Bytes(longText + u'\0')},
      {u"empty", VXN_STRING, Bytes(std::u16string(1, u'\0'))},
      {u"unicode", VXN_STRING, Bytes(std::u16string(u"\u00e9\u4e2d\U0001F600") + u'\0')},
      {u"lookalike", VXN_STRING, Bytes(std::u16string(u"u32:5") + u'\0')},
      {u"lookalike2", VXN_STRING, Bytes(std::u16string(u"str:x") + u'\0')},
      {u"control", VXN_STRING, Bytes(std::u16string(u"a\u0001b\uFFFE") + u'\0')},
      {u"lone", VXN_STRING, Bytes(std::u16string(1, char16_t(0xD800)) + u'\0')},
      {u"nul", VXN_STRING, Bytes(std::u16string(u"a\0b\0", 4) + u'\0')},
      {u"none", VXN_EMPTY, {}},
      {u"i32", VXN_INT32, {0xFB, 0xFF, 0xFF, 0xFF}},
      {u"u32", VXN_UINT32, {0xFF, 0xFF, 0xFF, 0xFF}},
      {u"i64", VXN_INT64, {0, 0, 0, 0, 0, 0, 0, 0x80}},
      {u"u64", VXN_UINT64, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {u"bool", VXN_BOOL, {1}},
      {u"guid", VXN_GUID,
       std::vector<uint8_t>(reinterpret_cast<const uint8_t*>(&guid),
                            reinterpret_cast<const uint8_t*>(&guid) + 16)},
      {u"strings", VXN_STRING_LIST, Bytes(std::u16string(u"a\0\"q\"\\\0\n\t\u0002\0\0\0", 13))},
      {u"emptyStrings", VXN_STRING_LIST, {}},
      {u"oneEmptyString", VXN_STRING_LIST, {0, 0, 0, 0}},
      {u"ints", VXN_INT32_LIST, {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
      {u"uints", VXN_UINT32_LIST, {}},
      {u"bools", VXN_BOOL_LIST, {0, 1}},
      {u"guids", VXN_GUID_LIST, std::vector<uint8_t>(32, 0xAB)},
      {u"_reserved-looking name", VXN_STRING, Bytes(std::u16string(u"x") + u'\0')},
  };
  for (auto& c : cases) SetRaw(node, c.name, c.type, c.data);
  VXNodePtr child = VXNodePtr::Create(u"has space", u"");
  child.SetString(u"xmlns", u"not a namespace");
  node.AddChild(child);
  node.AddChild(VXNodePtr::Create(u"", u""));

  const std::string text = WriteNodeText({node});
  VXNodePtr back;
  try {
    back = ReadOne(text);
  } catch (const HRX& failure) {
    FAIL() << ToUtf8(FormatStatus(failure)) << "\n" << text;
  }
  for (auto& c : cases) {
    uint32_t type = 0;
    ASSERT_TRUE(back.HasAttribute(c.name)) << ToUtf8(c.name);
    EXPECT_EQ(back.GetRaw(c.name, type), c.data) << ToUtf8(c.name);
    EXPECT_EQ(type, c.type) << ToUtf8(c.name);
  }
  EXPECT_EQ(back.AttributeNames(), node.AttributeNames());  // order kept
  EXPECT_EQ(back.GetName(), u"the name");
  EXPECT_EQ(back.GetValue(), u"node value\nwith a line");
  EXPECT_EQ(back.ChildAt(0).GetType(), u"has space");
  EXPECT_EQ(back.ChildAt(0).GetString(u"xmlns"), u"not a namespace");
  EXPECT_FALSE(back.ChildAt(1).HasValue());
  EXPECT_EQ(WriteNodeText({back}), text);
  EXPECT_EQ(text.find('\t'), std::string::npos);  // tabs and line breaks in values are references
}

TEST(NodeTextTest, HandWrittenInput) {
  const std::string text =
      "<?xml version=\"1.0\"?>\r\n"
      "<!-- a comment -->\r\n"
      "<nr>\r\n"
      "  <sql_command _name=\"main\" command=\"SELECT *\r\n"
      "    FROM t\" Top=\"u32:10\" Url=\"http://x\" Schema=\"dbo:x\"\r\n"
      "      variables='str[]:[ \"%TOP%\" , \"%UID%\" ]' Ids='i32[]:[]'/>\r\n"
      "  <_ _name=\"Conditions\"/>\r\n"
      "</nr>\r\n";
  auto nodes = ReadNodeText(text, "hand.xml");
  ASSERT_EQ(nodes.size(), 2u);
  const VXNodePtr& command = nodes[0];
  EXPECT_EQ(command.GetType(), u"sql_command");
  EXPECT_EQ(command.GetString(u"command"), u"SELECT *\n    FROM t");
  EXPECT_EQ(command.GetUInt32(u"Top"), 10u);
  EXPECT_EQ(command.GetString(u"Url"), u"http://x");
  EXPECT_EQ(command.GetString(u"Schema"), u"dbo:x");
  EXPECT_EQ(command.GetStringList(u"variables", true),
            (std::vector<std::u16string>{u"%TOP%", u"%UID%"}));
  EXPECT_EQ(command.GetAttributeType(u"Ids"), VXN_INT32_LIST);
  EXPECT_EQ(nodes[1].GetType(), u"");
  EXPECT_EQ(nodes[1].GetName(), u"Conditions");
}

TEST(NodeTextTest, ErrorsNameLineAndColumn) {
  struct Case {
    std::string text, expected;
  } cases[] = {
      {"<nr>\n  <Query Top=\"u32:abc\"/>\n</nr>",
       "0x8007000D The data is invalid: test.xml:2:15: attribute 'Top': 'abc' is not a valid u32"},
      {"<nr><Q A=\"i32:4294967295\"/></nr>",
       "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': "
       "'4294967295' is not a valid i32"},
      {"<nr><Q A=\"bool:yes\"/></nr>",
       "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': bool: "
       "takes true or false"},
      {"<nr><Q A='str[]:[\"a\" \"b\"]'/></nr>",
       "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': expected ',' or ']' in the "
       "list"},
      {"<nr><Q A=\"null:x\"/></nr>",
       "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': null: takes no value"},
      {"<nr><Q _bogus=\"1\"/></nr>",
       "0x8007000D The data is invalid: test.xml:1:8: unknown reserved attribute '_bogus'"},
      {"<nr><Q>text</Q></nr>",
       "0x8007000D The data is invalid: test.xml:1:8: text is not allowed between elements; put "
       "values in attributes"},
      {"<root/>", "0x8007000D The data is invalid: test.xml:1:2: the root element must be <nr>"},
      {"<nr>\n<Q a=\"1\"\n</nr>",
       "0x8007000D The data is invalid: test.xml:3:1: Error parsing start element tag"},
      {"", "0x8007000D The data is invalid: test.xml:1:1: No document element found"},
  };
  for (auto& c : cases) EXPECT_EQ(ErrorOf(c.text), c.expected) << c.text;
}

TEST(NodeTextTest, RefusesWhatItWouldChangeSilently) {
  const std::string prefix = "0x8007000D The data is invalid: test.xml:";
  const std::string badReference =
      "a character reference to U+0000, a surrogate or no character; write such a string in the "
      "u16: form";
  struct Case {
    std::string text, expected;
  } cases[] = {
      // an attribute given twice
      {"<nr><Q A=\"1\" A=\"2\"/></nr>", "1:14: attribute 'A' is given twice"},
      {"<nr><Q _name=\"a\" _name=\"b\"/></nr>", "1:18: attribute '_name' is given twice"},
      {"<nr><Q A=\"1\"><_attr _name=\"A\" _value=\"2\"/></Q></nr>",
       "1:15: attribute 'A' is given twice"},
      {"<nr><_><_attr _name=\"p\" _value=\"1\"/><_attr _name=\"u16:0070\" _value=\"2\"/></_></nr>",
       "1:38: attribute 'p' is given twice"},
      {"<nr><_><_attr _name=\"p\" _value=\"1\" Top=\"2\"/></_></nr>",
       "1:36: <_attr> takes only _name and _value"},
      {"<nr><_><_attr _name=\"p\" _value=\"1\"><Q/></_attr></_></nr>",
       "1:37: <_attr> holds no elements"},
      {"<nr><Q _type=\"R\"/></nr>",
       "1:8: _type belongs on <_>: this element's name is already its type"},
      // U+0000 where the library cannot hold it
      {"<nr><Q _name=\"u16:00780000007A\"/></nr>",
       "1:15: a name, type or node value cannot hold U+0000"},
      {"<nr><Q _value=\"u16:0000\"/></nr>", "1:16: a name, type or node value cannot hold U+0000"},
      {"<nr><_><_attr _name=\"u16:0070000000710000\" _value=\"1\"/></_></nr>",
       "1:22: a name, type or node value cannot hold U+0000"},
      {"<nr><Q L='str[]:[\"a\\u0000b\"]'/></nr>",
       "1:11: attribute 'L': a string in a list cannot hold U+0000"},
      {std::string("<nr><Q A=\"a\0b\"/></nr>", 20),
       "1:12: a NUL byte; write a string holding U+0000 in the u16: form"},
      {"<nr><Q A=\"x&#0;y\"/></nr>", "1:12: " + badReference},
      {"<nr><Q A=\"&#xD800;\"/></nr>", "1:11: " + badReference},
      {"<nr><Q A=\"&#1114112;\"/></nr>", "1:11: " + badReference},
      {"<nr><Q A=\"&#99999999999999;\"/></nr>", "1:11: " + badReference},
      // bytes that are not UTF-8
      {"<nr><Q A=\"\x80\"/></nr>", "1:11: the text is not valid UTF-8 here"},
      {"<nr>\n<Q A=\"\xC3\xA9\xC0\xAF\"/></nr>", "2:8: the text is not valid UTF-8 here"},
      {"<nr><Q A=\"\xED\xA0\x80\"/></nr>", "1:11: the text is not valid UTF-8 here"},
      {"<nr><Q A=\"\xF4\x90\x80\x80\"/></nr>", "1:11: the text is not valid UTF-8 here"},
      {"<nr><Q A=\"\xF0\x9F\x98\"/></nr>", "1:11: the text is not valid UTF-8 here"},
      {"<nr/>\xE2\x82", "1:6: the text is not valid UTF-8 here"},
      {"\xFF\xFE<\0n\0r\0/\0>\0",
       "1:1: the text is UTF-16 (a byte-order mark or NUL bytes at its start); the "
       "node text form is UTF-8"},
      {std::string("<\0n\0r\0/\0>\0", 10),
       "1:1: the text is UTF-16 (a byte-order mark or NUL bytes at its start); "
       "the node text form is UTF-8"},
  };
  for (auto& c : cases) EXPECT_EQ(ErrorOf(c.text), prefix + c.expected) << c.text;

  // What looks alike but is sound reads as written.
  const VXNodePtr node = ReadOne(
      "\xEF\xBB\xBF<nr><!-- &#0; is no reference here --><Q A=\"&#x1F600;\xF0\x9F\x98\x80&#233;\" "
      "B=\"&#10;&#x9;\" C=\"u16:0061000000620000\"/></nr>");
  EXPECT_EQ(node.GetString(u"A"), u"\U0001F600\U0001F600\u00e9");
  EXPECT_EQ(node.GetString(u"B"), u"\n\t");
  EXPECT_EQ(node.GetString(u"C"), std::u16string(u"a\0b\0", 4));
}

TEST(NodeTextTest, DepthIsLimitedAtTheDocumentedLevel) {
  const auto nested = [](size_t depth) {
    std::string text = "<nr>";
    for (size_t i = 0; i < depth; ++i) text += "<a>";
    for (size_t i = 0; i < depth; ++i) text += "</a>";
    return text + "</nr>";
  };
  const VXNodePtr deepest = ReadOne(nested(kMaxTreeDepth));
  EXPECT_FALSE(TreeDeeperThan(deepest.get(), kMaxTreeDepth));
  EXPECT_TRUE(TreeDeeperThan(deepest.get(), kMaxTreeDepth - 1));
  // Every walk takes a tree at the limit: writing, reading back, cloning, dumping.
  const VXNodePtr back = ReadOne(WriteNodeText({deepest.Clone()}));
  EXPECT_FALSE(TreeDeeperThan(back.get(), kMaxTreeDepth));
  EXPECT_TRUE(TreeDeeperThan(back.get(), kMaxTreeDepth - 1));
  EXPECT_TRUE(DumpNode(back, NodeDumpMask(u"x")).ends_with(u"  </a>\n"));
  // The element that would be level 1001 starts after "<nr>" and 1000 "<a>".
  EXPECT_EQ(ErrorOf(nested(kMaxTreeDepth + 1)),
            "0x8007000D The data is invalid: test.xml:1:3006: the tree is deeper than 1000 levels");
  EXPECT_EQ(ErrorOf(nested(200000)),
            "0x8007000D The data is invalid: test.xml:1:3006: the tree is deeper than 1000 levels");
}

std::string DataFile(const std::string& name) { return std::string(NODES_TEST_DATA) + "/" + name; }

std::string FileErrorOf(const std::string& path) {
  try {
    ReadNodeTextFile(path);
  } catch (const HRX& failure) {
    return ToUtf8(FormatStatus(failure, kOmitLocation));
  }
  return "no error";
}

TEST(NodeTextTest, HostileFilesAreRefusedWithTheirPlace) {
  struct Case {
    std::string file, expected;
  } cases[] = {
      {"stack-overflow-reader-deep25k.xml", ":1:3067: the tree is deeper than 1000 levels"},
      {"log-blowup-deep10k.xml", ":3:3157: the tree is deeper than 1000 levels"},
      {"nul-in-names-and-lists.xml", ":1:78: attribute 'L': a string in a list cannot hold U+0000"},
      {"duplicate-xml-attribute.xml", ":1:87: attribute 'Top' is given twice"},
      {"invalid-utf8-accepted.xml", ":3:151: the text is not valid UTF-8 here"},
  };
  for (auto& c : cases) {
    const std::string path = DataFile(c.file);
    EXPECT_EQ(FileErrorOf(path), "0x8007000D The data is invalid: " + path + c.expected);
  }
}

TEST(NodeTextTest, OneHundredThousandAttributesReadInOrder) {
  const auto nodes = ReadNodeTextFile(DataFile("quadratic-100k-attributes.xml"));
  ASSERT_EQ(nodes.size(), 1u);
  const std::vector<std::u16string> names = nodes[0].AttributeNames();
  ASSERT_EQ(names.size(), 100001u);
  EXPECT_EQ(names[0], u"Query_Template_Name");
  EXPECT_EQ(names[1], u"a0");
  EXPECT_EQ(names[100000], u"a99999");
  EXPECT_EQ(nodes[0].GetString(u"a54321"), u"54321");
}

TEST(NodeTextTest, FilesThatAreNoTextFormSaySo) {
  const std::filesystem::path directory =
      std::filesystem::path(testing::TempDir()) / "node-text-files";
  std::filesystem::create_directories(directory);
  const std::string utf16 = (directory / "utf16.xml").string();
  std::ofstream(utf16, std::ios::binary) << std::string("\xFF\xFE<\0n\0r\0/\0>\0", 12);

  struct Case {
    std::string path;
    HRESULT code;
    std::string expected;
  } cases[] = {
      {directory.string(), E_INVALIDARG,
       "'" + directory.string() + "' is a directory, not a node text file"},
      {utf16, E_INVALID_DATA, utf16 + ":1:1: the text is UTF-16"},
      {"/nonexistent/catalog.xml", E_FILE_NOT_FOUND, "cannot read '/nonexistent/catalog.xml'"},
  };
  for (auto& c : cases) {
    try {
      ReadNodeTextFile(c.path);
      ADD_FAILURE() << c.path;
    } catch (const HRX& failure) {
      EXPECT_EQ(failure.code(), c.code) << c.path;
      EXPECT_NE(ToUtf8(FormatStatus(failure)).find(c.expected), std::string::npos)
          << ToUtf8(FormatStatus(failure));
    }
  }
  std::filesystem::remove_all(directory);
}

}  // namespace

namespace {

TEST(NodeSerializationTest, ContextsRoundTripInBatches) {
  std::vector<VXNodePtr> nodes;
  for (int i = 0; i < 23; ++i) {
    VXNodePtr node = VXNodePtr::Create(u"Query");
    node.SetInt32(u"Index", i);
    nodes.push_back(node);
  }
  std::string text;
  {
    CNodeSerializer serializer(VXN_SERIALIZATION_TEXT, 0,
                               [&](std::string_view bytes) { text += bytes; });
    serializer.Serialize(nodes);
    serializer.Finalize();
  }
  EXPECT_EQ(text, WriteNodeText(nodes, 0));
  CNodeDeserializer deserializer(VXN_SERIALIZATION_TEXT, 0, text.data(), text.size());
  const auto back = deserializer.ReadAll();
  ASSERT_EQ(back.size(), 23u);
  EXPECT_EQ(back[22].GetInt32(u"Index"), 22);

  const std::string bad = "<nr><Q></nr>";
  CNodeDeserializer broken(VXN_SERIALIZATION_TEXT, 0, bad.data(), bad.size());
  try {
    broken.ReadAll();
    FAIL();
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_INVALID_DATA);
    EXPECT_NE(ToUtf8(FormatStatus(failure)).find("<stream>:1:"), std::string::npos);
  }
  HVXNSERIALIZER context = nullptr;
  EXPECT_EQ(VxnStartSerialization(
                0, 0, [](void*, const void*, uint32_t) { return S_OK; }, nullptr, &context),
            E_INVALIDARG);
}

TEST(NodeDumpTest, CutsTheRootAndMasksHiddenAttributes) {
  EXPECT_EQ(DumpNode(VXNodePtr(), NodeDumpMask()), u"VXNode[<null>]");

  VXNodePtr request = VXNodePtr::Create(u"Query");
  request.SetString(u"Password", u"secret");
  VXNodePtr token = VXNodePtr::Create(u"Credentials");
  token.SetUInt32(u"Token", 42);
  token.SetString(u"Password", u"also secret");
  request.AddChild(token);
  const std::u16string handle =
      FormatString(u"VXNode[0x%p]:\r\n", static_cast<const void*>(request.get()));

  struct Case {
    std::u16string hidden;
    std::string expected;
  } cases[] = {
      {u"",
       "  <Query Password=\"secret\">\n    <Credentials Token=\"u32:42\" Password=\"also "
       "secret\"/>\n  </Query>\n"},
      {u" Password ;",
       "  <Query Password=\"********\">\n    <Credentials Token=\"u32:42\" "
       "Password=\"********\"/>\n"
       "  </Query>\n"},
      {u"Credentials.Token,Other",
       "  <Query Password=\"secret\">\n    <Credentials Token=\"********\" "
       "Password=\"also secret\"/>\n  </Query>\n"},
  };
  for (auto& c : cases)
    EXPECT_EQ(ToUtf8(DumpNode(request, NodeDumpMask(c.hidden))), ToUtf8(handle) + c.expected);
  EXPECT_EQ(request.GetString(u"Password"), u"secret");  // the tree itself is untouched
}

}  // namespace
