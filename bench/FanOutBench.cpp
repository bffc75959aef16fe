// %DB_NAME% over many databases: one 10 KB template (10,240 UTF-16 units)
// written once for each (database, view) pair, one view per database, every
// database reported healthy. Beside it, the baseline: the finished text
// copied once. Two kinds of request:
//   - a search without marks: the template is scanned once for all pairs;
//   - a paged search (the sorting paging template) with a mark for every
//     database: each database's copy is worked by the mark processor.
// The services around the processor are the fakes of its tests. Logging is
// off. The allocator keeps the memory it is given back (no mmap, no trim),
// so that a text of 200 MB costs its copying and not the kernel's page
// faults on fresh memory in every iteration: the figures of 10,000 pairs
// then compare with those of 1,000. A counting allocator reports the
// allocations of one request per pair.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <string>

#include "Common/Text.h"
#include "QueriesProcessing/Common/DbKey.h"
#include "QueriesProcessing/Common/MarkElementWriter.h"
#include "QueriesProcessing/Scriptwright/Targeting/DBNameProcessor.h"
#include "bench/CountingAllocator.h"
#include "tests/QueriesProcessing/Targeting/DbNameWorld.h"

namespace {

using QueriesProcessing::CDBNameProcessor;
using QueriesProcessing::Testing::DbNameWorld;
using QueriesProcessing::Testing::Node;
using QueriesProcessing::Testing::ProcessorConfig;

const bool kMemoryKept = [] {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  return true;
}();

constexpr char kType[] = "{00000000-0000-0000-0000-000000000003}";
constexpr size_t kTemplateLength = 10240;

std::string DbName(size_t n) { return "AuditDatabase_" + std::to_string(n); }

std::string ManagedObject(size_t n) {
  std::string digits = std::to_string(n);
  return "{A0000000-0000-0000-0000-" + std::string(12 - digits.size(), '0') + digits + "}";
}

// A statement of the size of the paging templates, with their tokens where
// those templates have them; `paged` adds the mark processor's tokens.
std::u16string Template(bool paged) {
  std::u16string text =
      u"SELECT TOP %TOP% [RID], [When], [Who], [What], [Where], [ObjectType]\n"
      u"FROM [%INSTANCE%].[%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%] AS [CurrentData]\n";
  if (paged) text += u"%CMARK_CURRENT_DATA%\n%CMARK_INNER_JOIN%\n";
  text += u"WHERE (%CONDITION_PRODUCT_ID%) AND (%CONDITION%) -- %DB_HASH%\n";
  const std::u16string column = u"    , CAST([Details] AS nvarchar(max)) AS [Details_00]\n";
  while (text.size() + column.size() + 128 < kTemplateLength) text += column;
  text += paged ? u"%CMARK_SORTING%\n" : u"ORDER BY %SORTING%\n";
  text += u"UNION ALL SELECT [RID] FROM [%DB_NAME%].[%SCHEMA_NAME%].[%VIEW_NAME%]\n";
  text.resize(kTemplateLength, u' ');
  return text;
}

// The processor over `pairs` databases, and the requests it serves.
class FanOut {
 public:
  explicit FanOut(size_t pairs) {
    std::vector<DbNameWorld::Health> health;
    for (size_t n = 0; n < pairs; ++n) {
      world_.AddSource(
          kType, ManagedObject(n),
          "<_ db=\"" + DbName(n) + "\" DatabaseSchema=\"i32:1\" Enabled=\"bool:true\"/>");
      health.push_back({DbName(n), true, true});
    }
    world_.SetHealth(health);
    const std::string config = ProcessorConfig(
        std::string(R"(<_ _name="DataSourceMapping"><DataSource _value=")") + kType +
        R"(" MandatoryProductId="i32:3"/></_>)" +
        R"(<MarkEntry Name="When" RequiredCollate="bool:false"/>)" + "<DataSource _value=\"" +
        kType + R"(" ViewName="vw_AllChanges" db_schema="i32:1"/>)");
    Check(world_.Initialize(processor_, config));
    search_ = Node(R"(<Query Query_Template_Name="search" DBSchema="i32:1"/>)");
    paged_ = PagedRequest(pairs);
    variable_ = Node(R"(<_ DbNameSeparator="&#10;UNION ALL&#10;"/>)");
  }

  std::u16string Run(bool paged) {
    std::u16string text = paged ? pagedTemplate_ : template_;
    Check(processor_.ProcessNode(paged ? paged_ : search_, variable_, text));
    return text;
  }

 private:
  static VXNodePtr PagedRequest(size_t pairs) {
    VXNodePtr request = Node(
        R"(<Query Query_Template_Name="query_all_data_by_rid_with_cm_sort" DBSchema="i32:1" Continuous="bool:true">)"
        R"(<_ _name="SortingRoot"><_ Column="When" Direction="DESC" Order="i32:1"/>)"
        R"(<_ Column="RID" Direction="DESC" Order="i32:2"/></_></Query>)");
    std::vector<std::u16string> marks;
    for (size_t n = 0; n < pairs; ++n) {
      marks.push_back(QueriesProcessing::WriteMarkElement(
          QueriesProcessing::MakeDbKey(ToUtf16(DbName(n))),
          {{u"RID", ToUtf16(std::to_string(1000000 + n))}, {u"When", u"2026-11-01T10:00:00"}}));
    }
    request.SetStringList(u"Continuation_Mark", marks);
    return request;
  }

  DbNameWorld world_;
  CDBNameProcessor processor_;
  VXNodePtr search_;
  VXNodePtr paged_;
  VXNodePtr variable_;
  const std::u16string template_ = Template(false);
  const std::u16string pagedTemplate_ = Template(true);
};

void Measure(benchmark::State& state, bool paged) {
  const size_t pairs = static_cast<size_t>(state.range(0));
  FanOut fanOut(pairs);
  size_t length = 0;
  uint64_t allocations = 0;
  for (auto _ : state) {
    const uint64_t before = AllocationsSoFar();
    std::u16string text = fanOut.Run(paged);
    allocations += AllocationsSoFar() - before;
    length = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length * sizeof(char16_t)));
  state.counters["pairs"] = static_cast<double>(pairs);
  state.counters["allocs/pair"] = benchmark::Counter(
      static_cast<double>(allocations) / static_cast<double>(pairs),
      benchmark::Counter::kAvgIterations);
}

// The baseline: the finished text of the same fan-out copied once into a
// new string, as the processor makes a new one.
void CopyOutput(benchmark::State& state, bool paged) {
  std::u16string text;
  {
    FanOut fanOut(static_cast<size_t>(state.range(0)));
    text = fanOut.Run(paged);
  }
  for (auto _ : state) {
    std::u16string copy(text);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(
      static_cast<int64_t>(state.iterations() * text.size() * sizeof(char16_t)));
}

void BM_FanOut(benchmark::State& state) { Measure(state, false); }
void BM_FanOutCopyOutput(benchmark::State& state) { CopyOutput(state, false); }
void BM_FanOutPaged(benchmark::State& state) { Measure(state, true); }
void BM_FanOutPagedCopyOutput(benchmark::State& state) { CopyOutput(state, true); }

BENCHMARK(BM_FanOut)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FanOutCopyOutput)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FanOutPaged)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FanOutPagedCopyOutput)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
