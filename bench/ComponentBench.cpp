// Requests per second through the preparer component against the engine
// called directly, for the example paged search.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

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

// A second thread that waits until told to end. The component has one (its
// rebuild thread), and with two threads the allocator takes its locks on
// every call, which costs this allocation-heavy work about 10%: the engine is
// measured under the same condition, as in any host.
class IdleThread {
 public:
  IdleThread()
      : thread_([this] {
          std::unique_lock lock(mutex_);
          wake_.wait(lock, [this] { return done_; });
        }) {}
  ~IdleThread() {
    {
      std::lock_guard lock(mutex_);
      done_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;  // last: starts once the rest is made
};

void BM_EngineDirectly(benchmark::State& state) {
  CScriptwrightImpl engine;
  const VXNodePtr catalog = Catalog();
  engine.Initialize(catalog);
  const IdleThread second;
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
