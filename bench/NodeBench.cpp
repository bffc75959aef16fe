// Costs of nodes with many attributes: reading one element of N attributes
// from the text form, setting N attributes, and looking each of them up.
// Run at 10,000 and 100,000: the time per attribute must stay flat (the
// complexity report should say O(N)). Logging is off; the node library
// writes nothing to the log anyway.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Common/Logger.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Common/Text.h"

namespace {

std::vector<std::u16string> Names(size_t count) {
  std::vector<std::u16string> names;
  names.reserve(count);
  for (size_t i = 0; i < count; ++i) names.push_back(u"a" + ToText(static_cast<int64_t>(i)));
  return names;
}

void BM_ReadAttributes(benchmark::State& state) {
  SetMaxSeverity(Severity::NONE);
  const auto count = static_cast<size_t>(state.range(0));
  std::string text = "<nr><Query";
  for (size_t i = 0; i < count; ++i)
    text += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
  text += "/></nr>";
  for (auto _ : state) benchmark::DoNotOptimize(ReadNodeText(text, "bench.xml"));
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_ReadAttributes)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

void BM_SetAttributes(benchmark::State& state) {
  SetMaxSeverity(Severity::NONE);
  const std::vector<std::u16string> names = Names(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    const VXNodePtr node = VXNodePtr::Create(u"Query");
    for (const auto& name : names) node.SetInt32(name, 1);
    benchmark::DoNotOptimize(node.get());
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_SetAttributes)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

void BM_GetAttributes(benchmark::State& state) {
  SetMaxSeverity(Severity::NONE);
  const std::vector<std::u16string> names = Names(static_cast<size_t>(state.range(0)));
  const VXNodePtr node = VXNodePtr::Create(u"Query");
  for (const auto& name : names) node.SetInt32(name, 1);
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& name : names) sum += node.GetInt32(name);
    benchmark::DoNotOptimize(sum);
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_GetAttributes)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
