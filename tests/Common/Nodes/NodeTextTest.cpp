#include <gtest/gtest.h>

#include <cstring>

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeDeserializer.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/Nodes/NodeSerializer.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
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

void SetRaw(const VXNodePtr& node, std::u16string_view name, uint32_t type, std::vector<uint8_t> data) {
  node.SetAttribute(name, type, data.empty() ? nullptr : data.data(), static_cast<uint32_t>(data.size()));
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
      {u"plain", VXN_STRING, Bytes(std::u16string(u"SELECT *\r\n\tFROM t WHERE a < 'b' & \"c\" > d", 40) + u'\0')},
      {u"long", VXN_STRING, Bytes(longText + u'\0')},
      {u"empty", VXN_STRING, Bytes(std::u16string(1, u'\0'))},
      {u"unicode", VXN_STRING, Bytes(std::u16string(u"\u00e9\u4e2d\U0001F600") + u'\0')},
      {u"lookalike", VXN_STRING, Bytes(std::u16string(u"u32:5") + u'\0')},
      {u"lookalike2", VXN_STRING, Bytes(std::u16string(u"str:x") + u'\0')},
      {u"control", VXN_STRING, Bytes(std::u16string(u"a\u0001b\uFFFE") + u'\0')},
      {u"lone", VXN_STRING, Bytes(std::u16string(1, char16_t(0xD800)) + u'\0')},
      {u"none", VXN_EMPTY, {}},
      {u"i32", VXN_INT32, {0xFB, 0xFF, 0xFF, 0xFF}},
      {u"u32", VXN_UINT32, {0xFF, 0xFF, 0xFF, 0xFF}},
      {u"i64", VXN_INT64, {0, 0, 0, 0, 0, 0, 0, 0x80}},
      {u"u64", VXN_UINT64, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {u"bool", VXN_BOOL, {1}},
      {u"guid", VXN_GUID, std::vector<uint8_t>(reinterpret_cast<const uint8_t*>(&guid),
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
  EXPECT_EQ(command.GetStringList(u"variables", true), (std::vector<std::u16string>{u"%TOP%", u"%UID%"}));
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
      {"<nr><Q A=\"i32:4294967295\"/></nr>", "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': "
                                            "'4294967295' is not a valid i32"},
      {"<nr><Q A=\"bool:yes\"/></nr>", "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': bool: "
                                       "takes true or false"},
      {"<nr><Q A='str[]:[\"a\" \"b\"]'/></nr>",
       "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': expected ',' or ']' in the list"},
      {"<nr><Q A=\"null:x\"/></nr>", "0x8007000D The data is invalid: test.xml:1:11: attribute 'A': null: takes no value"},
      {"<nr><Q _bogus=\"1\"/></nr>", "0x8007000D The data is invalid: test.xml:1:8: unknown reserved attribute '_bogus'"},
      {"<nr><Q>text</Q></nr>",
       "0x8007000D The data is invalid: test.xml:1:8: text is not allowed between elements; put values in attributes"},
      {"<root/>", "0x8007000D The data is invalid: test.xml:1:2: the root element must be <nr>"},
      {"<nr>\n<Q a=\"1\"\n</nr>", "0x8007000D The data is invalid: test.xml:3:1: Error parsing start element tag"},
      {"", "0x8007000D The data is invalid: test.xml:1:1: No document element found"},
  };
  for (auto& c : cases) EXPECT_EQ(ErrorOf(c.text), c.expected) << c.text;
}

TEST(NodeTextTest, MissingFileNamesThePath) {
  try {
    ReadNodeTextFile("/nonexistent/catalog.xml");
    FAIL();
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_FILE_NOT_FOUND);
    EXPECT_NE(ToUtf8(FormatStatus(failure)).find("/nonexistent/catalog.xml"), std::string::npos);
  }
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
    CNodeSerializer serializer(VXN_SERIALIZATION_TEXT, 0, [&](std::string_view bytes) { text += bytes; });
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
  EXPECT_EQ(VxnStartSerialization(0, 0, [](void*, const void*, uint32_t) { return S_OK; }, nullptr, &context),
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
  const std::u16string handle = FormatString(u"VXNode[0x%p]:\r\n", static_cast<const void*>(request.get()));

  struct Case {
    std::u16string hidden;
    std::string expected;
  } cases[] = {
      {u"", "  <Query Password=\"secret\">\n    <Credentials Token=\"u32:42\" Password=\"also secret\"/>\n  </Query>\n"},
      {u" Password ;", "  <Query Password=\"********\">\n    <Credentials Token=\"u32:42\" Password=\"********\"/>\n"
                       "  </Query>\n"},
      {u"Credentials.Token,Other", "  <Query Password=\"secret\">\n    <Credentials Token=\"********\" "
                                   "Password=\"also secret\"/>\n  </Query>\n"},
  };
  for (auto& c : cases) EXPECT_EQ(ToUtf8(DumpNode(request, NodeDumpMask(c.hidden))), ToUtf8(handle) + c.expected);
  EXPECT_EQ(request.GetString(u"Password"), u"secret");  // the tree itself is untouched
}

}  // namespace
