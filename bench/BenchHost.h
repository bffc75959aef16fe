#pragma once

// What a benchmark needs of a host: named components that do nothing, the
// preparer component configured with a catalogue, and a thread that idles.

#include <condition_variable>
#include <mutex>
#include <thread>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/NamedInstances.h"
#include "Common/Components/ServerInterfaces.h"
#include "QueriesProcessing/Scriptwright/Component/Scriptwright.h"

namespace bench {

// The host's components: all of them do nothing.
class QuietHost : public CComponentBase,
                  public IDataSourceManager,
                  public IConfigSubscriptions,
                  public IConfigSubscription,
                  public IQueryProcessor {
 public:
  using Interfaces =
      std::tuple<IDataSourceManager, IConfigSubscriptions, IConfigSubscription, IQueryProcessor>;
  HRESULT AddObserver(ITriggerObserver*) override { return S_OK; }
  HRESULT Subscribe(const VXNodePtr&, const VXNodePtr&, IConfigObserver*,
                    IConfigSubscription** out) override {
    return static_cast<IConfigSubscription*>(this)->QueryInterface(IConfigSubscription::kIid,
                                                                   reinterpret_cast<void**>(out));
  }
  HRESULT Start() override { return S_OK; }
  HRESULT ProcessQuery(const VXNodePtr&) override { return S_OK; }
  HRESULT CancelQuery(const VXNodePtr&) override { return S_OK; }
};

// The preparer component configured with `catalog`, its named components
// served by a QuietHost, for the life of the object.
class ConfiguredPreparer {
 public:
  explicit ConfiguredPreparer(const VXNodePtr& catalog) {
    Check(CComponentObject<QuietHost>::Create(IComponent::kIid, reinterpret_cast<void**>(&host_)));
    ScriptwrightSetNamedInstanceProvider(&Provide);
    CompPtr<IModuleObject> module;
    GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid());
    Check(module->GetClassObject(QueriesProcessing::CScriptwright::kClassId, IConfigurable::kIid,
                                 component_.ReceiveVoid()));
    Check(component_->Configure(catalog));
    processor_ = component_.As<IQueryProcessor>();
  }
  ~ConfiguredPreparer() {
    component_.As<IShutdown>()->Shutdown();
    ScriptwrightSetNamedInstanceProvider(nullptr);
    host_->Release();
    host_ = nullptr;
  }
  ConfiguredPreparer(const ConfiguredPreparer&) = delete;
  ConfiguredPreparer& operator=(const ConfiguredPreparer&) = delete;

  IQueryProcessor& processor() const { return *processor_.operator->(); }

 private:
  static HRESULT Provide(const char16_t*, uint32_t, const GUID* iid, void** out) {
    return host_->QueryInterface(*iid, out);
  }

  static inline IComponent* host_ = nullptr;
  CompPtr<IConfigurable> component_;
  CompPtr<IQueryProcessor> processor_;
};

// A second thread that waits until told to end. The component has one (its
// rebuild thread), and with two threads the allocator takes its locks on
// every call, which costs allocation-heavy work about 10%: whatever is
// compared with the component is measured under the same condition.
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

}  // namespace bench
