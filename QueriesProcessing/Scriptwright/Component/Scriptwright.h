#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"
#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"

namespace QueriesProcessing {

// The preparer component, class {772DD3A6-C1F8-4AB9-A4C7-4D46A84131C3}: owns
// the engine, prepares each query and hands it to the executing component
// named by the catalogue's `queries_processor`.
//
// Configure registers with "DataSourceManager", loads the engine from the
// catalogue, finds the executing component, subscribes through
// "ConfigServer.Proxy" to "\Tallyvane\ReportingSettingsHistory" and starts
// the re-initialisation thread. Every change notification asks that thread to
// rebuild the engine from the kept catalogue; a failed rebuild is retried
// every 100 ms until it succeeds or Shutdown ends the thread. A burst of
// notifications merges into one rebuild.
//
// ProcessQuery refuses a node whose type is not "Query" (0x80070057),
// prepares it and passes it on; CancelQuery passes "Cookie" nodes on without
// the engine. Operations log their failures and return the code.
// Thread-safe: the engine serialises preparations and rebuilds.
class CScriptwright : public CComponentBase,
                      public IConfigurable,
                      public IQueryProcessor,
                      public IConfigObserver,
                      public IWeakReferenceSource,
                      public ITriggerObserver,
                      public IShutdown {
 public:
  using Interfaces = std::tuple<IConfigurable, IQueryProcessor, IConfigObserver, IWeakReferenceSource,
                                ITriggerObserver, IShutdown>;
  static inline const GUID kClassId = MakeGuid(u"{772DD3A6-C1F8-4AB9-A4C7-4D46A84131C3}");

  HRESULT Configure(const VXNodePtr& config) override;
  HRESULT ProcessQuery(const VXNodePtr& query) override;
  HRESULT CancelQuery(const VXNodePtr& cookie) override;
  HRESULT OnModify(const VXNodePtr& change) override;
  HRESULT OnAdded(const VXNodePtr& change) override;
  HRESULT OnRemoved(const VXNodePtr& change) override;
  HRESULT GetWeakReference(IWeakReference** out) override;
  HRESULT OnTriggered(const VXNodePtr& trigger) override;
  HRESULT Shutdown() override;

  void FinalRelease();

 private:
  void Subscribe();
  void SignalReinit();
  void ReinitializeThread();

  std::shared_ptr<CScriptwrightImpl> engine_ = std::make_shared<CScriptwrightImpl>();
  CompPtr<IQueryProcessor> target_;
  VXNodePtr config_;
  std::mutex eventsLock_;
  std::condition_variable eventsChanged_;
  bool stopEvent_ = false;    // guarded by eventsLock_; stays set
  bool reinitEvent_ = false;  // guarded by eventsLock_; reset by the waiter
  std::thread reinitThread_;
};

}  // namespace QueriesProcessing
