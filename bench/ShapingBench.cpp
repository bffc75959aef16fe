// Costs of turning large condition trees into predicate text.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Common/SqlText.h"
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

void BM_InList(benchmark::State& state) {
  VXNodePtr in = VXNodePtr::Create(u"Condition");
  in.SetString(u"operator", u"IN");
  VXNodePtr list = VXNodePtr::Create(u"List");
  list.SetString(u"Columnn", u"Who");
  list.SetStringList(u"Values", Values(state.range(0)));
  in.AddChild(list);
  VXNodePtr request = RequestWith(in);
  size_t size = 0;
  for (auto _ : state) {
    std::u16string text = u"WHERE %CONDITION%";
    Processor().ProcessNode(request, VXNodePtr(), text);
    size = text.size();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size * 2));
}
BENCHMARK(BM_InList)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The floor for the IN list: copying its finished text once into new memory,
// as the processor's output is new memory too.
void BM_InListOutputOnce(benchmark::State& state) {
  std::vector<std::u16string> quoted;
  for (const auto& value : Values(state.range(0))) quoted.push_back(QuoteStringValue(value));
  const std::u16string output = u"WHERE  ([Who] IN (" + JoinStrings(quoted, u",") + u")) ";
  for (auto _ : state) {
    std::u16string copy = output;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * output.size() * 2));
}
BENCHMARK(BM_InListOutputOnce)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_AndOfComparisons(benchmark::State& state) {
  VXNodePtr conjunction = VXNodePtr::Create(u"Condition");
  conjunction.SetString(u"operator", u"AND");
  for (int64_t i = 0; i < state.range(0); ++i) {
    VXNodePtr comparison = VXNodePtr::Create(u"ConditionValues");
    comparison.SetString(u"Columnn", u"Column" + ToText(i % 16));
    comparison.SetString(u"Value", u"value " + ToText(i));
    conjunction.AddChild(comparison);
  }
  VXNodePtr request = RequestWith(conjunction);
  for (auto _ : state) {
    std::u16string text = u"WHERE %CONDITION%";
    Processor().ProcessNode(request, VXNodePtr(), text);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(BM_AndOfComparisons)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
