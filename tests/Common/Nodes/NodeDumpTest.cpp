// Node dumps for the log: their size limit and the setting behind it.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <memory>

#include "Common/FormatString.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Nodes/NodeDump.h"
#include "Common/Text.h"

namespace {

std::u16string Handle(const VXNodePtr& node) {
  return FormatString(u"VXNode[0x%p]:\r\n", static_cast<const void*>(node.get()));
}

std::u16string Marker(size_t leftOut) {
  return u"... (" + ToText(static_cast<int64_t>((leftOut + 1023) / 1024)) + u" KB more left out)\n";
}

TEST(NodeDumpTest, LongDumpsAreCutWithAMarker) {
  VXNodePtr wide = VXNodePtr::Create(u"Query");
  for (int i = 0; i < 3000; ++i) {
    VXNodePtr child = VXNodePtr::Create(u"Column");
    child.SetString(
        u"Name", u"\u00e9t\u00e9 " + ToText(i));  // two-byte characters: cuts must not split them
    wide.AddChild(child);
  }
  const std::u16string full = DumpNode(wide, NodeDumpMask());
  const std::string body = ToUtf8(full.substr(Handle(wide).size()));

  for (size_t limit : {size_t{0}, size_t{1}, size_t{1000}, size_t{1025}, size_t{65536}}) {
    SCOPED_TRACE(limit);
    size_t kept = limit;
    while (kept > 0 && (static_cast<unsigned char>(body[kept]) & 0xC0) == 0x80)
      --kept;  // whole characters
    EXPECT_GE(kept + 1, limit);
    std::string expected = body.substr(0, kept);
    if (!expected.ends_with('\n')) expected += '\n';
    EXPECT_EQ(DumpNode(wide, NodeDumpMask(), limit),
              Handle(wide) + ToUtf16(expected) + Marker(body.size() - kept));
  }
  EXPECT_EQ(DumpNode(wide, NodeDumpMask(), body.size()), full);  // fits exactly: nothing cut
}

TEST(NodeDumpTest, ADeepRequestDumpsInBoundedSpace) {
  // Shaped like the request that once wrote a 400 MB log line: 10,000
  // nested nodes, each line indented two blanks a level.
  constexpr size_t kDepth = 10000;
  VXNodePtr root = VXNodePtr::Create(u"a");
  VXNodePtr last = root;
  for (size_t level = 2; level <= kDepth; ++level) {
    VXNodePtr child = VXNodePtr::Create(u"a");
    last.AddChild(child);
    last = child;
  }
  // "<a>" and "</a>" on a line each, the last node "<a/>".
  size_t whole = 2 * kDepth + 5;
  for (size_t level = 1; level < kDepth; ++level) whole += 4 * level + 9;

  const size_t limit = 1024 * 1024;
  const std::u16string dump = DumpNode(root, NodeDumpMask(), limit);
  // The cut falls inside a line, which the dump ends before the marker.
  EXPECT_EQ(dump.size(), Handle(root).size() + limit + 1 + Marker(whole - limit).size());
  EXPECT_TRUE(dump.ends_with(u"\n" + Marker(whole - limit)));
}

// Settings of section "Logger" held in memory, in front of the ini files.
class LoggerSettings : public ISettingsSource {
 public:
  explicit LoggerSettings(std::u16string maxDumpKB) : value_(std::move(maxDumpKB)) {}
  HRESULT Read(std::u16string_view section, std::u16string_view key,
               std::u16string& value) override {
    if (section != u"Logger" || key != u"MaxNodeDumpKB") return E_NOTFOUND;
    value = value_;
    return S_OK;
  }

 private:
  std::u16string value_;
};

TEST(NodeDumpTest, TheLimitComesFromMaxNodeDumpKB) {
  constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();
  EXPECT_EQ(NodeDumpLimitFromSettings(), 1024u * 1024u);  // the test settings leave it out
  struct Case {
    std::u16string setting;
    size_t bytes;
  } cases[] = {
      {u"4", 4096},
      {u"0", kNoLimit},
      {u"2048", 2048u * 1024u},
      {u"-1", 1024 * 1024},
      {u"1kB", 1024 * 1024},
      {u"99999999999999999999999", 1024 * 1024},
      {u"18014398509481984", kNoLimit},  // too many bytes to count: no limit
  };
  for (auto& c : cases) {
    auto source = std::make_shared<LoggerSettings>(c.setting);
    SettingsSources::Instance().AddSource(source);
    EXPECT_EQ(NodeDumpLimitFromSettings(), c.bytes) << ToUtf8(c.setting);
    if (c.setting == u"4") {
      VXNodePtr node = VXNodePtr::Create(u"Query");
      node.SetString(u"Text", std::u16string(10000, u'x'));
      LogMessage message;
      message << node;
      EXPECT_TRUE(message.str().ends_with(
          Marker(std::string("  <Query Text=\"\"/>\n").size() + 10000 - 4096)))
          << ToUtf8(message.str().substr(4000));
    }
    SettingsSources::Instance().RemoveSource(source);
  }
}

}  // namespace
