// Requests per second through the preparer component against the engine
// called directly, for the example paged search. Logging is off
// (LoggingOff.cpp).

#include <benchmark/benchmark.h>

#include "Common/Nodes/NodeTextReader.h"
#include "bench/BenchHost.h"

namespace {

using QueriesProcessing::CScriptwrightImpl;

VXNodePtr Catalog() { return ReadNodeTextFile(SCRIPTWRIGHT_SOURCE_DIR "/examples/catalog.xml")[0]; }
VXNodePtr Request() {
  return ReadNodeTextFile(SCRIPTWRIGHT_SOURCE_DIR "/examples/requests/paged-search.xml")[0];
}

void BM_EngineDirectly(benchmark::State& state) {
  CScriptwrightImpl engine;
  const VXNodePtr catalog = Catalog();
  engine.Initialize(catalog);
  const bench::IdleThread second;
  const VXNodePtr request = Request();
  for (auto _ : state) {
    VXNodePtr copy = request.Clone();
    if (engine.Prepare(copy) != S_OK) state.SkipWithError("Prepare failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EngineDirectly);

void BM_ThroughTheComponent(benchmark::State& state) {
  const bench::ConfiguredPreparer preparer(Catalog());
  const VXNodePtr request = Request();
  for (auto _ : state) {
    VXNodePtr copy = request.Clone();
    if (preparer.processor().ProcessQuery(copy) != S_OK) state.SkipWithError("ProcessQuery failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ThroughTheComponent);

}  // namespace
