#include <gtest/gtest.h>

#include <functional>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Common/Text.h"

namespace {

HRESULT StatusOf(const std::function<void()>& body) {
  try {
    body();
    return S_OK;
  } catch (const HRX& failure) {
    return failure.code();
  }
}

TEST(VXNodePtrTest, DefaultsApplyToMissingAndTypeZero) {
  VXNodePtr node = VXNodePtr::Create(u"Query");
  node.SetAttribute(u"Empty", VXN_EMPTY, nullptr, 0);
  for (const char16_t* name : {u"Missing", u"Empty"}) {
    EXPECT_TRUE(node.GetBool(name, true));
    EXPECT_EQ(node.GetInt32(name, -7), -7);
    EXPECT_EQ(node.GetUInt32(name, 7u), 7u);
    EXPECT_EQ(node.GetString(name, u"d"), u"d");
  }
  EXPECT_FALSE(node.GetChild(u"Conditions"));
  EXPECT_TRUE(node.GetStringList(u"Missing", false).empty());
  std::u16string text = u"untouched";
  EXPECT_FALSE(node.TryGetString(u"Missing", text));
  EXPECT_FALSE(node.TryGetString(u"Empty", text));
  EXPECT_EQ(text, u"untouched");
  node.SetUInt32(u"Top", 5);
  EXPECT_TRUE(node.TryGetString(u"Top", text));
  EXPECT_EQ(text, u"5");

  struct Case {
    const char* what;
    std::function<void()> body;
    HRESULT expected;
  } failures[] = {
      {"required string", [&] { node.GetString(u"Missing"); }, E_NOTFOUND},
      {"required list", [&] { node.GetStringList(u"Missing", true); }, E_NOTFOUND},
      {"required child", [&] { node.GetChild(u"Conditions", true); }, E_NOTFOUND},
      {"type zero has no bool", [&] { node.GetBool(u"Empty"); }, E_INVALID_DATA},
  };
  for (auto& c : failures) EXPECT_EQ(StatusOf(c.body), c.expected) << c.what;
}

TEST(VXNodePtrTest, ReadsConvertBetweenTypes) {
  VXNodePtr node = VXNodePtr::Create(u"Query");
  node.SetUInt32(u"Top", 3000);
  node.SetString(u"Text", u"-12");
  node.SetString(u"Flag", u"TRUE");
  node.SetInt32(u"Negative", -1);
  node.SetString(u"Id", u"0dd265d7-9c92-4fc0-9cbe-32d691746561");
  const int32_t numbers[] = {1, -2};
  node.SetAttribute(u"Numbers", VXN_INT32_LIST, numbers, sizeof numbers);

  EXPECT_EQ(node.GetString(u"Top"), u"3000");
  EXPECT_EQ(node.GetInt32(u"Top"), 3000);
  EXPECT_EQ(node.GetInt32(u"Text"), -12);
  EXPECT_TRUE(node.GetBool(u"Flag"));
  EXPECT_EQ(FormatGuid(node.GetGuid(u"Id")), u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");
  EXPECT_EQ(node.GetStringList(u"Numbers", true), (std::vector<std::u16string>{u"1", u"-2"}));
  EXPECT_EQ(StatusOf([&] { node.GetUInt32(u"Negative"); }), E_INVALID_DATA);
  EXPECT_EQ(node.GetUInt64(u"Top"), 3000u);
  EXPECT_EQ(StatusOf([&] { node.GetUInt64(u"Negative"); }), E_INVALID_DATA);
  EXPECT_EQ(StatusOf([&] { node.GetUInt64List(u"Numbers"); }), E_INVALID_DATA);
  node.SetStringList(u"Masks", {u"18446744073709551615", u"8"});
  EXPECT_EQ(node.GetUInt64List(u"Masks"), (std::vector<uint64_t>{UINT64_MAX, 8}));
  EXPECT_EQ(StatusOf([&] { node.GetInt32(u"Flag"); }), E_INVALID_DATA);

  const std::u16string longText(500, u'q');
  node.SetString(u"Long", longText);
  EXPECT_EQ(node.GetString(u"Long"), longText);

  node.SetStringList(u"None", {});
  EXPECT_EQ(node.GetAttributeType(u"None"), VXN_STRING_LIST);
  EXPECT_TRUE(node.GetStringList(u"None", true).empty());
}

TEST(VXNodePtrTest, HandlesKeepNodesAlive) {
  VXNodePtr parent = VXNodePtr::Create(u"parent");
  VXNodePtr child = VXNodePtr::Create(u"child", u"c");
  parent.AddChild(child);
  VXNodePtr copy = child;  // a second handle
  EXPECT_EQ(copy.get(), child.get());
  child = VXNodePtr();
  EXPECT_EQ(parent.GetChild(u"c").GetType(), u"child");
  EXPECT_EQ(copy.Parent().get(), parent.get());

  parent = VXNodePtr();  // the child outlives its parent through its handle
  EXPECT_FALSE(copy.Parent());
  EXPECT_EQ(copy.GetType(), u"child");

  VXNodePtr a = VXNodePtr::Create(u"a");
  VXNodePtr b = VXNodePtr::Create(u"b");
  a.AddChild(b);
  EXPECT_EQ(StatusOf([&] { b.AddChild(a); }), E_INVALIDARG);  // no cycles
  EXPECT_EQ(StatusOf([&] { a.AddChild(a); }), E_INVALIDARG);
  VXNodePtr other = VXNodePtr::Create(u"other");
  other.AddChild(b);  // moving detaches from the old parent
  EXPECT_EQ(a.ChildCount(), 0u);
  EXPECT_EQ(b.Parent().get(), other.get());
}

TEST(VXNodePtrTest, CloneDepthAndCompare) {
  VXNodePtr root = VXNodePtr::Create(u"root", u"r");
  root.SetString(u"a", u"1");
  VXNodePtr child = VXNodePtr::Create(u"child");
  child.AddChild(VXNodePtr::Create(u"grandchild"));
  root.AddChild(child);

  VXNodePtr shallow = root.Clone(0);
  EXPECT_EQ(shallow.ChildCount(), 0u);
  EXPECT_EQ(shallow.GetName(), u"r");
  EXPECT_TRUE(VXNodePtr::CompareAttribute(u"a", root, shallow, 0));
  VXNodePtr deep = root.Clone();
  EXPECT_EQ(deep.ChildAt(0).ChildAt(0).GetType(), u"grandchild");
  EXPECT_FALSE(deep.Parent());

  deep.SetString(u"a", u"2");
  EXPECT_FALSE(VXNodePtr::CompareAttribute(u"a", root, deep, VXNodePtr::kCompareAsText));
  deep.SetInt32(u"a", 1);
  EXPECT_FALSE(VXNodePtr::CompareAttribute(u"a", root, deep, 0));  // same text, other type
  EXPECT_TRUE(VXNodePtr::CompareAttribute(u"absent", root, deep, 0));
  EXPECT_FALSE(VXNodePtr::CompareAttribute(u"a", root, VXNodePtr::Create(u"x"), 0));
}

TEST(VXNodePtrTest, NulIsCarriedByStringValuesAndRefusedElsewhere) {
  const std::u16string withNul(u"a\0b", 3);
  VXNodePtr node = VXNodePtr::Create(u"Query", u"q");
  node.SetString(u"Value", withNul);
  EXPECT_EQ(node.GetString(u"Value"), withNul);
  EXPECT_EQ(node.GetString(u"Value", u"default"), withNul);

  // The library's names and lists would cut or split the text: refused, and
  // nothing changes.
  struct Case {
    const char* what;
    std::function<void()> body;
  } refused[] = {
      {"name", [&] { node.SetName(withNul); }},
      {"type", [&] { node.SetType(withNul); }},
      {"node value", [&] { node.SetValue(withNul); }},
      {"attribute name", [&] { node.SetString(withNul, u"x"); }},
      {"look-up by name", [&] { node.HasAttribute(withNul); }},
      {"child name", [&] { node.GetChild(withNul); }},
      {"list element",
       [&] {
         node.SetStringList(u"List", {u"ok", withNul});
       }},
  };
  for (auto& c : refused) EXPECT_EQ(StatusOf(c.body), E_INVALIDARG) << c.what;
  EXPECT_EQ(node.GetName(), u"q");
  EXPECT_EQ(node.GetType(), u"Query");
  EXPECT_FALSE(node.HasValue());
  EXPECT_EQ(node.AttributeNames(), std::vector<std::u16string>{u"Value"});
}

TEST(VXNodePtrTest, ForEachChildReadsTheCountOnce) {
  VXNodePtr root = VXNodePtr::Create(u"root");
  root.AddChild(VXNodePtr::Create(u"a"));
  root.AddChild(VXNodePtr::Create(u"b"));
  int visits = 0;
  root.ForEachChild([&](const VXNodePtr&) {
    ++visits;
    root.AddChild(VXNodePtr::Create(u"added"));
  });
  EXPECT_EQ(visits, 2);
  EXPECT_EQ(root.ChildCount(), 4u);
}

}  // namespace
