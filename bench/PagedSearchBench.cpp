// One paged search through ProcessQuery per iteration: TOP 50, a time
// comparison, an OR of two comparisons, an IN list of k user names, ORDER BY
// time descending then RID. Beside it, the baseline: copying the finished
// SQL text once. A counting allocator reports allocations per request.
// Logging is off.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Common/Nodes/NodeTextReader.h"
#include "bench/BenchHost.h"
#include "bench/CountingAllocator.h"

namespace {

constexpr char kCatalog[] =
    R"(<nr><_ queries_processor="Core.QueriesExecutor" complex_condition_names='str[]:["Who"]'>
  <_ _name="%TOP%" top="2000" variable="%TOP%"/>
  <_ _name="%SORTING_ROOT_ADJUST%">
    <_ _name="SortingEntry" Column="RID" Direction="DESC" Order="i32:1000"/>
  </_>
  <_ _name="%CONDITION%" ExcludeColumnBracket='str[]:[]'/>
  <_ _name="%SORTING%" variable="%SORTING%"/>
  <query_template _name="paged">
    <sql_command _name="search" final="bool:true" command="SELECT TOP %TOP% [RID], [When], [Who], [What]
FROM [dbo].[ActivityRecords]
WHERE %CONDITION%
ORDER BY %SORTING%" variables='str[]:["%SORTING_ROOT_ADJUST%","%TOP%","%CONDITION%","%SORTING%"]'/>
  </query_template>
</_></nr>)";

VXNodePtr Catalog() { return ReadNodeText(kCatalog, "catalog")[0]; }

VXNodePtr Comparison(std::u16string_view column, std::u16string_view comparator,
                     std::u16string_view value) {
  VXNodePtr node = VXNodePtr::Create(u"ConditionValues");
  node.SetString(u"Columnn", column);
  node.SetString(u"Comparator", comparator);
  node.SetString(u"Value", value);
  return node;
}

VXNodePtr Operator(std::u16string_view op) {
  VXNodePtr node = VXNodePtr::Create(u"Condition");
  node.SetString(u"operator", op);
  return node;
}

VXNodePtr Request(size_t users) {
  VXNodePtr request = VXNodePtr::Create(u"Query");
  request.SetString(u"Query_Template_Name", u"paged");
  request.SetUInt32(u"Top", 50);
  VXNodePtr conditions = VXNodePtr::Create(u"ConditionsRoot", u"Conditions");
  VXNodePtr all = Operator(u"AND");
  all.AddChild(Comparison(u"When", u">=", u"2026-11-01T00:00:00"));
  VXNodePtr either = Operator(u"OR");
  either.AddChild(Comparison(u"What", u"=", u"Added"));
  either.AddChild(Comparison(u"What", u"=", u"Removed"));
  all.AddChild(either);
  VXNodePtr in = Operator(u"IN");
  VXNodePtr list = VXNodePtr::Create(u"");
  list.SetString(u"Columnn", u"Who");
  std::vector<std::u16string> names;
  for (size_t i = 0; i < users; ++i)
    names.push_back(u"CORP\\user" + std::u16string(1, u'a' + i % 26) + u"'" +
                    std::u16string(1, u'0' + i % 10));
  list.SetStringList(u"Values", names);
  in.AddChild(list);
  all.AddChild(in);
  conditions.AddChild(all);
  request.AddChild(conditions);
  VXNodePtr sorting = VXNodePtr::Create(u"", u"SortingRoot");
  VXNodePtr when = VXNodePtr::Create(u"");
  when.SetString(u"Column", u"When");
  when.SetString(u"Direction", u"DESC");
  when.SetInt32(u"Order", 1);
  sorting.AddChild(when);
  request.AddChild(sorting);
  return request;
}

std::u16string PreparedText(const bench::ConfiguredPreparer& preparer, size_t users) {
  VXNodePtr request = Request(users);
  Check(preparer.processor().ProcessQuery(request));
  return request.GetChild(u"Command", true).GetString(u"SQL_Command");
}

void BM_PagedSearch(benchmark::State& state) {
  const bench::ConfiguredPreparer preparer(Catalog());
  const VXNodePtr request = Request(static_cast<size_t>(state.range(0)));
  uint64_t allocations = 0;
  for (auto _ : state) {
    VXNodePtr copy = request.Clone();
    const uint64_t before = AllocationsSoFar();
    if (preparer.processor().ProcessQuery(copy) != S_OK) state.SkipWithError("ProcessQuery failed");
    allocations += AllocationsSoFar() - before;
  }
  state.counters["allocs/request"] =
      benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PagedSearch)->Arg(10)->Arg(1000)->Arg(10000);

// The baseline: the finished statement copied once.
void BM_PagedSearchCopyOutput(benchmark::State& state) {
  std::u16string text;
  {
    const bench::ConfiguredPreparer preparer(Catalog());
    text = PreparedText(preparer, static_cast<size_t>(state.range(0)));
  }
  const bench::IdleThread second;
  std::u16string copy;
  for (auto _ : state) {
    copy = text;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(
      static_cast<int64_t>(state.iterations() * text.size() * sizeof(char16_t)));
}
BENCHMARK(BM_PagedSearchCopyOutput)->Arg(10)->Arg(1000)->Arg(10000);

}  // namespace
