// Costs of turning large condition trees into predicate text, each beside
// its floor: the same output copied once. Logging is off (LoggingOff.cpp).

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Shaping/ConditionsProcessor.h"

namespace {

using QueriesProcessing::CConditionsProcessor;

CConditionsProcessor& Processor() {
  static CConditionsProcessor* processor = [] {
    auto* p = new CConditionsProcessor;
    VXNodePtr config = VXNodePtr::Create(u"config");
    config.SetStringList(u"ExcludeColumnBracket", {});
    p->Initialize(config);
    return p;
  }();
  return *processor;
}

VXNodePtr RequestWith(const VXNodePtr& condition) {
  VXNodePtr root = VXNodePtr::Create(u"ConditionsRoot", u"Conditions");
  root.AddChild(condition);
  VXNodePtr request = VXNodePtr::Create(u"Query");
  request.AddChild(root);
  return request;
}

std::vector<std::u16string> Values(int64_t count) {
  std::vector<std::u16string> values;
  values.reserve(static_cast<size_t>(count));
  for (int64_t i = 0; i < count; ++i) values.push_back(u"CORP\\user" + ToText(i));
  return values;
}

VXNodePtr InListRequest(int64_t count) {
  VXNodePtr in = VXNodePtr::Create(u"Condition");
  in.SetString(u"operator", u"IN");
  VXNodePtr list = VXNodePtr::Create(u"List");
  list.SetString(u"Columnn", u"Who");
  list.SetStringList(u"Values", Values(count));
  in.AddChild(list);
  return RequestWith(in);
}

VXNodePtr AndRequest(int64_t count) {
  VXNodePtr conjunction = VXNodePtr::Create(u"Condition");
  conjunction.SetString(u"operator", u"AND");
  for (int64_t i = 0; i < count; ++i) {
    VXNodePtr comparison = VXNodePtr::Create(u"ConditionValues");
    comparison.SetString(u"Columnn", u"Column" + ToText(i % 16));
    comparison.SetString(u"Value", u"value " + ToText(i));
    conjunction.AddChild(comparison);
  }
  return RequestWith(conjunction);
}

std::u16string Where(VXNodePtr request) {
  std::u16string text = u"WHERE %CONDITION%";
  if (Processor().ProcessNode(request, VXNodePtr(), text) != S_OK) Check(E_FAIL);
  return text;
}

void RunProcessor(benchmark::State& state, VXNodePtr request) {
  size_t size = 0;
  for (auto _ : state) {
    std::u16string text = u"WHERE %CONDITION%";
    if (Processor().ProcessNode(request, VXNodePtr(), text) != S_OK) state.SkipWithError("failed");
    size = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size * 2));
}

// The floor the processor is measured against: its finished text copied once
// into new memory, as the processor's output is new memory too.
void CopyOutputOnce(benchmark::State& state, const std::u16string& output) {
  for (auto _ : state) {
    std::u16string copy = output;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * output.size() * 2));
}

void BM_InList(benchmark::State& state) { RunProcessor(state, InListRequest(state.range(0))); }
BENCHMARK(BM_InList)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void BM_InListOutputOnce(benchmark::State& state) {
  CopyOutputOnce(state, Where(InListRequest(state.range(0))));
}
BENCHMARK(BM_InListOutputOnce)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void BM_AndOfComparisons(benchmark::State& state) { RunProcessor(state, AndRequest(state.range(0))); }
BENCHMARK(BM_AndOfComparisons)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

void BM_AndOfComparisonsOutputOnce(benchmark::State& state) {
  CopyOutputOnce(state, Where(AndRequest(state.range(0))));
}
BENCHMARK(BM_AndOfComparisonsOutputOnce)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
