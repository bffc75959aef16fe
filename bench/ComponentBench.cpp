// Requests per second through the preparer component against the engine
// called directly, for the example paged search.

#include <benchmark/benchmark.h>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "Common/Nodes/NodeTextReader.h"
#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"

namespace {

using QueriesProcessing::CScriptwright;
using QueriesProcessing::CScriptwrightImpl;

// The host's components: all of them do nothing.
class QuietHost : public CComponentBase,
                  public IDataSourceManager,
                  public IConfigSubscriptions,
                  public IConfigSubscription,
                  public IQueryProcessor {
 public:
  using Interfaces = std::tuple<IDataSourceManager, IConfigSubscriptions, IConfigSubscription, IQueryProcessor>;
  HRESULT AddObserver(ITriggerObserver*) override { return S_OK; }
  HRESULT Subscribe(const VXNodePtr&, const VXNodePtr&, IConfigObserver*, IConfigSubscription** out) override {
    return static_cast<IConfigSubscription*>(this)->QueryInterface(IConfigSubscription::kIid,
                                                                    reinterpret_cast<void**>(out));
  }
  HRESULT Start() override { return S_OK; }
  HRESULT ProcessQuery(const VXNodePtr&) override { return S_OK; }
  HRESULT CancelQuery(const VXNodePtr&) override { return S_OK; }
};

IComponent* gHost = nullptr;

HRESULT Provide(const char16_t*, uint32_t, const GUID* iid, void** out) { return gHost->QueryInterface(*iid, out); }

VXNodePtr Catalog() { return ReadNodeTextFile(SCRIPTWRIGHT_SOURCE_DIR "/examples/catalog.xml")[0]; }
VXNodePtr Request() { return ReadNodeTextFile(SCRIPTWRIGHT_SOURCE_DIR "/examples/requests/paged-search.xml")[0]; }

void BM_EngineDirectly(benchmark::State& state) {
  CScriptwrightImpl engine;
  engine.Initialize(Catalog());
  const VXNodePtr request = Request();
  for (auto _ : state) {
    VXNodePtr copy = request.Clone();
    if (engine.Prepare(copy) != S_OK) state.SkipWithError("Prepare failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EngineDirectly);

void BM_ThroughTheComponent(benchmark::State& state) {
  Check(CComponentObject<QuietHost>::Create(IComponent::kIid, reinterpret_cast<void**>(&gHost)));
  ScriptwrightSetNamedInstanceProvider(&Provide);
  CompPtr<IConfigurable> component;
  CompPtr<IModuleObject> module;
  GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid());
  Check(module->GetClassObject(CScriptwright::kClassId, IConfigurable::kIid, component.ReceiveVoid()));
  Check(component->Configure(Catalog()));
  auto processor = component.As<IQueryProcessor>();
  const VXNodePtr request = Request();
  for (auto _ : state) {
    VXNodePtr copy = request.Clone();
    if (processor->ProcessQuery(copy) != S_OK) state.SkipWithError("ProcessQuery failed");
  }
  state.SetItemsProcessed(state.iterations());
  component.As<IShutdown>()->Shutdown();
  ScriptwrightSetNamedInstanceProvider(nullptr);
  gHost->Release();
}
BENCHMARK(BM_ThroughTheComponent);

}  // namespace
