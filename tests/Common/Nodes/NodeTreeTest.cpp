// Trees at the sizes hosts can reach: depths far past the reader's limit
// built through the API, and nodes with many attributes.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Nodes/TreeDepth.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Common/Nodes/VxnViewApi.h"
#include "Common/Text.h"

namespace {

constexpr uint32_t kHostDepth = 100000;

// A chain of `depth` nodes "a" built from the top down; `middle` gets the
// node at level `depth / 2`.
VXNodePtr Chain(uint32_t depth, VXNodePtr* middle = nullptr) {
  VXNodePtr root = VXNodePtr::Create(u"a");
  VXNodePtr last = root;
  for (uint32_t level = 2; level <= depth; ++level) {
    VXNodePtr child = VXNodePtr::Create(u"a");
    last.AddChild(child);
    last = child;
    if (middle && level == depth / 2) *middle = child;
  }
  return root;
}

TEST(NodeTreeTest, TreesDeeperThanTheReaderTakesAreClonedWrittenAndFreed) {
  VXNodePtr middle;
  VXNodePtr root = Chain(kHostDepth, &middle);
  EXPECT_FALSE(TreeDeeperThan(root.get(), kHostDepth));
  EXPECT_TRUE(TreeDeeperThan(root.get(), kHostDepth - 1));

  struct Case {
    uint32_t depth;   // asked of the clone
    uint32_t levels;  // the clone has
  } clones[] = {{0, 1}, {1, 2}, {999, 1000}, {VXNodePtr::kWholeTree, kHostDepth}};
  for (auto& c : clones) {
    const VXNodePtr clone = root.Clone(c.depth);
    EXPECT_FALSE(TreeDeeperThan(clone.get(), c.levels)) << c.depth;
    EXPECT_TRUE(TreeDeeperThan(clone.get(), c.levels - 1)) << c.depth;
    EXPECT_FALSE(clone.Parent());
  }

  const std::string text = WriteNodeText({root}, 0);
  EXPECT_EQ(text.size(),
            std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<nr></nr>\n").size() +
                (kHostDepth - 1) * std::string("<a></a>").size() + std::string("<a/>").size());
  try {
    ReadNodeText(text, "deep.xml");
    ADD_FAILURE() << "a tree past the limit was read";
  } catch (const HRX& failure) {
    EXPECT_EQ(failure.code(), E_INVALID_DATA);
  }

  // Releasing the root frees the upper half; the lower half lives on in
  // the handle that holds it, now without a parent.
  root = VXNodePtr();
  EXPECT_FALSE(middle.Parent());
  EXPECT_FALSE(TreeDeeperThan(middle.get(), kHostDepth / 2 + 1));
  EXPECT_TRUE(TreeDeeperThan(middle.get(), kHostDepth / 2));
}

TEST(NodeTreeTest, AttributesKeepInsertionOrderAtAnyCount) {
  // Counts around the size where a node starts to keep an index.
  for (uint32_t count : {2u, 8u, 9u, 10u, 50u, 5000u}) {
    SCOPED_TRACE(count);
    VXNodePtr node = VXNodePtr::Create(u"Query");
    std::vector<std::u16string> names;
    for (uint32_t i = 0; i < count; ++i) {
      names.push_back(u"n" + ToText(int64_t{count - i}));  // not in sorted order
      node.SetInt32(names.back(), static_cast<int32_t>(i));
    }
    node.SetInt32(names[0], -1);  // replacing keeps the place
    EXPECT_EQ(node.AttributeNames(), names);
    EXPECT_EQ(node.GetInt32(names[0]), -1);
    EXPECT_EQ(node.GetInt32(names[count - 1]), static_cast<int32_t>(count - 1));
    EXPECT_FALSE(node.HasAttribute(u"n0"));

    // Deleting shifts the later ones: each must still be found.
    const std::u16string removed = names[count / 2];
    node.DeleteAttribute(removed);
    names.erase(names.begin() + count / 2);
    EXPECT_FALSE(node.HasAttribute(removed));
    for (uint32_t i = 0; i < names.size(); ++i) {
      const int32_t expected = i == 0 ? -1 : static_cast<int32_t>(i < count / 2 ? i : i + 1);
      ASSERT_EQ(node.GetInt32(names[i]), expected) << ToUtf8(names[i]);
    }
    node.SetString(removed, u"back");  // comes back last
    names.push_back(removed);
    EXPECT_EQ(node.AttributeNames(), names);

    // A clone has its own list.
    const VXNodePtr clone = node.Clone();
    clone.SetString(u"clone only", u"x");
    clone.DeleteAttribute(names[0]);
    EXPECT_EQ(node.AttributeNames(), names);
    EXPECT_EQ(clone.GetString(removed), u"back");
    EXPECT_FALSE(node.HasAttribute(u"clone only"));
  }
}

TEST(NodeTreeTest, ValuesStoredFromTheNodesOwnMemory) {
  // A value peeked from a node and stored back into it, as a caller copying
  // one attribute to another does: the store must not free, reuse or move
  // the memory it reads before it has read it. ASan sees it when it does.
  const std::u16string longText(100, u'x');
  const std::vector<int32_t> longList(10, 7);  // past the in-place size
  struct Case {
    const char* what;
    uint32_t type;
    std::span<const uint8_t> bytes;
    bool asText;  // stored again through the text setter
  };
  const int64_t number = 0x0041004200430044;  // "DCBA" when read as text
  const Case cases[] = {
      {"short string", VXN_STRING, {reinterpret_cast<const uint8_t*>(u"ab"), 6}, false},
      {"long string", VXN_STRING,
       {reinterpret_cast<const uint8_t*>(longText.c_str()), (longText.size() + 1) * 2}, false},
      {"long string as text", VXN_STRING,
       {reinterpret_cast<const uint8_t*>(longText.c_str()), (longText.size() + 1) * 2}, true},
      {"number as text", VXN_INT64, {reinterpret_cast<const uint8_t*>(&number), 8}, true},
      {"long list", VXN_INT32_LIST,
       {reinterpret_cast<const uint8_t*>(longList.data()), longList.size() * 4}, false},
      {"long list as text", VXN_INT32_LIST,
       {reinterpret_cast<const uint8_t*>(longList.data()), longList.size() * 4}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    VXNodePtr node = VXNodePtr::Create(u"n");
    ASSERT_EQ(VxnSetAttributeN(node.get(), u"a", c.type, c.bytes.data(),
                               static_cast<uint32_t>(c.bytes.size())),
              S_OK);
    const std::vector<uint8_t> expected(c.bytes.begin(), c.bytes.end());
    auto store = [&](std::u16string_view name) {
      uint32_t type = 0;
      std::span<const uint8_t> data;
      ASSERT_EQ(VxnPeekAttributeN(node.get(), u"a", &type, &data), S_OK);
      if (c.asText) {
        const std::u16string_view text(reinterpret_cast<const char16_t*>(data.data()),
                                       data.size() / 2 - (type == VXN_STRING ? 1 : 0));
        ASSERT_EQ(VxnSetStringAttributeN(node.get(), name, text), S_OK);
      } else {
        ASSERT_EQ(VxnSetAttributeN(node.get(), name, type, data.data(),
                                   static_cast<uint32_t>(data.size())),
                  S_OK);
      }
    };
    // Into new attributes while the list grows, then onto itself.
    for (int i = 0; i < 40; ++i) store(u"copy" + ToText(int64_t{i}));
    store(u"a");
    for (int i = 0; i < 40; ++i) {
      uint32_t type = 0;
      std::span<const uint8_t> data;
      ASSERT_EQ(VxnPeekAttributeN(node.get(), u"copy" + ToText(int64_t{i}), &type, &data), S_OK);
      const size_t units = c.asText ? (type == VXN_STRING ? data.size() - 2 : data.size()) : 0;
      EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + (c.asText ? units : expected.size()),
                             data.begin()))
          << i;
    }
    uint32_t type = 0;
    std::span<const uint8_t> data;
    ASSERT_EQ(VxnPeekAttributeN(node.get(), u"a", &type, &data), S_OK);
    EXPECT_EQ(type, c.asText ? uint32_t{VXN_STRING} : c.type);
  }
}

}  // namespace
