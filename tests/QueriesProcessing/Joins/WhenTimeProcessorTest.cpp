#include <gtest/gtest.h>

#include "JoinsTestSupport.h"
#include "QueriesProcessing/Scriptwright/Joins/TimeOfDay.h"
#include "QueriesProcessing/Scriptwright/Joins/WhenTimeProcessor.h"

namespace QueriesProcessing {
namespace {

using Testing::Parse;
using Testing::Text;
using Testing::Where;

std::string End(const std::string& time, const std::string& type = "ConditionValues") {
  return "<" + type + R"( Columnn="WhenTime" Value=")" + time + "\"/>";
}

std::string Range(const std::string& from, const std::string& to, const std::string& op = "AND") {
  return "<Condition operator=\"" + op + "\">" + End(from) + End(to) + "</Condition>";
}

std::string Not(const std::string& inner) {
  return R"(<Condition operator="NOT">)" + inner + "</Condition>";
}

VXNodePtr Request(const std::string& conditions) {
  return Parse(R"(<Query><ConditionsRoot _name="Conditions">)" + conditions +
               "</ConditionsRoot></Query>");
}

HRESULT Rewrite(VXNodePtr& request) {
  CWhenTimeProcessor processor;
  std::u16string text = u"%CONDITION%";
  const HRESULT status = processor.ProcessNode(request, VXNodePtr(), text);
  EXPECT_EQ(text, u"%CONDITION%");  // the command text is never touched
  return status;
}

// The predicate %CONDITION% renders after the rewrite.
std::string Rewritten(const std::string& conditions) {
  VXNodePtr request = Request(conditions);
  if (Failed(Rewrite(request))) return "error";
  return Where(request);
}

TEST(WhenTimeProcessorTest, Ranges) {
  struct Case {
    const char* name;
    std::string conditions, expected;
  } cases[] = {
      {"plain", Range("08:00:00", "17:00:00"),
       " ( ([WhenTime] >= N'08:00:00')  AND  ([WhenTime] < N'17:00:00') ) "},
      {"seconds decide", Range("10:00:01", "10:00:00"),
       " ( ( ([WhenTime] >= N'10:00:01')  AND  ([WhenTime] <= N'23:59:59') )  OR "
       " ( ([WhenTime] >= N'00:00:00')  AND  ([WhenTime] < N'10:00:00') ) ) "},
      {"OR parent becomes AND", Range("08:00:00", "17:00:00", "OR"),
       " ( ([WhenTime] >= N'08:00:00')  AND  ([WhenTime] < N'17:00:00') ) "},
      {"time values are not visited",
       R"(<Condition operator="AND">)" + End("22:00:00", "ConditionTimeValues") +
           End("02:00:00", "ConditionTimeValues") + "</Condition>",
       " ( ([WhenTime] = N'22:00:00')  AND  ([WhenTime] = N'02:00:00') ) "},
      {"column other than WhenTime",
       R"(<Condition operator="AND"><ConditionValues Columnn="whentime" Value="22:00:00"/><ConditionValues Columnn="X" Value="02:00:00"/></Condition>)",
       " ( ([whentime] = N'22:00:00')  AND  ([X] = N'02:00:00') ) "},
      {"ranges nested deeper",
       R"(<Condition operator="OR"><ConditionValues Columnn="Who" Value="a"/>)" +
           Not(Range("22:00:00", "02:00:00")) + "</Condition>",
       " ( ([Who] = N'a')  OR  ( ( ([WhenTime] < N'22:00:00')  AND  ([WhenTime] >= N'02:00:00') ) "
       ") ) "},
  };
  for (const auto& c : cases) EXPECT_EQ(Rewritten(c.conditions), c.expected) << c.name;
}

TEST(WhenTimeProcessorTest, SplitShapeAndSecondRun) {
  VXNodePtr request =
      Request(R"(<Condition _name="range" operator="AND" Extra="kept">)"
              R"(<ConditionValues _name="from" Columnn="WhenTime" Value="22:00:00"/>)"
              R"(<ConditionValues _name="to" Columnn="WhenTime" Value="02:00:00"/></Condition>)");
  ASSERT_EQ(Rewrite(request), S_OK);
  const VXNodePtr parent = request.GetChild(u"Conditions").ChildAt(0);
  EXPECT_EQ(parent.GetName(), u"range");
  EXPECT_EQ(parent.GetString(u"operator"), u"OR");
  ASSERT_EQ(parent.ChildCount(), 2u);
  for (uint32_t g = 0; g < 2; ++g) {
    const VXNodePtr group = parent.ChildAt(g);
    EXPECT_EQ(group.GetType(), u"Condition");
    EXPECT_EQ(group.GetName(), u"");
    EXPECT_EQ(group.GetString(u"operator"), u"AND");
    EXPECT_EQ(group.GetString(u"Extra"), u"kept");
    ASSERT_EQ(group.ChildCount(), 2u);
    for (uint32_t i = 0; i < 2; ++i) {
      EXPECT_EQ(group.ChildAt(i).GetName(), u"");
      EXPECT_TRUE(group.ChildAt(i).GetBool(u"NodeIsProcessed"));
    }
  }
  // A second run over the rewritten request changes nothing.
  const std::string once = Text(request);
  ASSERT_EQ(Rewrite(request), S_OK);
  EXPECT_EQ(Text(request), once);
}

TEST(WhenTimeProcessorTest, UntouchedRequests) {
  const char* requests[] = {
      "<Query/>",
      R"(<Query><Condition _name="Conditions" operator="AND"/></Query>)",
      // Conditions found by name only: a range under another child stays.
      R"(<Query><ConditionsRoot _name="Other"><Condition operator="AND"><ConditionValues Columnn="WhenTime" Value="22:00:00"/><ConditionValues Columnn="WhenTime" Value="02:00:00"/></Condition></ConditionsRoot></Query>)",
      // Marked as done already.
      R"(<Query><ConditionsRoot _name="Conditions"><Condition operator="AND"><ConditionValues Columnn="WhenTime" Value="22:00:00" NodeIsProcessed="bool:true"/><ConditionValues Columnn="WhenTime" Value="02:00:00" NodeIsProcessed="bool:true"/></Condition></ConditionsRoot></Query>)",
  };
  for (const char* text : requests) {
    VXNodePtr request = Parse(text);
    const std::string before = Text(request);
    EXPECT_EQ(Rewrite(request), S_OK) << text;
    EXPECT_EQ(Text(request), before) << text;
  }
}

TEST(WhenTimeProcessorTest, BadTimesFailTheRequest) {
  struct Case {
    std::string conditions;
    HRESULT status;
  } cases[] = {
      {Range("1:2", "02:00:00"), E_INVALIDARG},
      {Range("22:00:00", "02:00"), E_INVALIDARG},
      {R"(<Condition operator="AND">)" + End("08:00:00") +
           R"(<ConditionValues Columnn="Who" Value="a"/></Condition>)",
       E_INVALIDARG},  // the sibling is read as the other end
      {R"(<Condition operator="NOT"><Condition operator="AND">)" + End("08:00:00") +
           R"(<ConditionValues Columnn="WhenTime"/></Condition></Condition>)",
       E_NOTFOUND},
  };
  for (const auto& c : cases) {
    VXNodePtr request = Request(c.conditions);
    EXPECT_EQ(Rewrite(request), c.status) << c.conditions;
    const auto info = GetErrorInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->description.ends_with(u": invalid format time"), c.status == E_INVALIDARG)
        << c.conditions;
    // Both ends are marked before they are read; a NOT above stays a NOT.
    const VXNodePtr range = request.GetChild(u"Conditions").ChildAt(0);
    const VXNodePtr parent = range.GetString(u"operator") == u"NOT" ? range.ChildAt(0) : range;
    EXPECT_TRUE(parent.ChildAt(0).GetBool(u"NodeIsProcessed"));
    EXPECT_TRUE(parent.ChildAt(1).GetBool(u"NodeIsProcessed"));
    EXPECT_EQ(range.GetString(u"operator"), c.status == E_NOTFOUND ? u"NOT" : u"AND");
  }
}

TEST(TimeOfDayTest, Scan) {
  struct Case {
    const char16_t* text;
    bool read;
    int hours, minutes, seconds;
  } cases[] = {
      {u"22:00:00", true, 22, 0, 0},
      {u"7:5:3", true, 7, 5, 3},
      {u"25:99:00", true, 25, 99, 0},
      {u" 1:\t2: 3", true, 1, 2, 3},
      {u"+1:-2:3", true, 1, -2, 3},
      {u"1:2:3 and more", true, 1, 2, 3},
      {u"300:0:0", true, 44, 0, 0},  // the low byte of 300
      {u"99999999999999999999999:0:0", true, -1, 0, 0},
      {u"1:2", false, 0, 0, 0},
      {u"1 :2:3", false, 0, 0, 0},
      {u"1-2-3", false, 0, 0, 0},
      {u"", false, 0, 0, 0},
      {u"-:1:2", false, 0, 0, 0},
  };
  for (const auto& c : cases) {
    TimeOfDay time{};
    ASSERT_EQ(ScanTimeOfDay(c.text, time), c.read) << ToUtf8(c.text);
    if (!c.read) continue;
    EXPECT_EQ(time.hours, c.hours) << ToUtf8(c.text);
    EXPECT_EQ(time.minutes, c.minutes) << ToUtf8(c.text);
    EXPECT_EQ(time.seconds, c.seconds) << ToUtf8(c.text);
  }
}

TEST(TimeOfDayTest, Order) {
  const TimeOfDay t0959{59, 59, 9}, t1000s1{1, 0, 10}, t2359{59, 59, 23}, negative{0, 0, -1};
  EXPECT_LT(t0959, t1000s1);
  EXPECT_FALSE(t1000s1 < t1000s1);
  EXPECT_LT(t2359, negative);  // bytes compare unsigned
}

}  // namespace
}  // namespace QueriesProcessing
