#pragma once

#include <atomic>
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
// Configure is accepted once: a second call fails with 0x8007139F and leaves
// the first configuration (and its thread) as it is; a new catalogue is a new
// component. A failed Configure shuts the component down.
//
// ProcessQuery refuses, with 0x8007000D and before anything else (the log's
// dump of the request included), a request deeper than kMaxTreeDepth levels
// (Common/Nodes/TreeDepth.h), so that every walk of the engine and its
// processors recurses at most that far; then a node whose type is not
// "Query" (0x80070057). It prepares the request and passes it on; CancelQuery
// passes "Cookie" nodes (depth-checked too) on without the engine. Before a
// successful Configure both fail with 0x8007139F.
//
// Once Shutdown has begun, Configure, ProcessQuery and CancelQuery fail with
// 0x80047F03 at once, touching neither the engine nor the executing
// component; a request already past that point finishes. Shutdown stops and
// joins the thread; it may come first, and more than once.
//
// Every operation is a component border (ComponentBorder): HRX and standard
// exceptions become logged statuses, nothing escapes to the host.
// Thread-safe: the engine serialises preparations and rebuilds; Configure and
// Shutdown come from the host's configuration thread.
class CScriptwright : public CComponentBase,
                      public IConfigurable,
                      public IQueryProcessor,
                      public IConfigObserver,
                      public IWeakReferenceSource,
                      public ITriggerObserver,
                      public IShutdown {
 public:
  using Interfaces = std::tuple<IConfigurable, IQueryProcessor, IConfigObserver,
                                IWeakReferenceSource, ITriggerObserver, IShutdown>;
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
  void StartReinitializeThread();
  void SignalReinit();
  void ReinitializeThread();
  // Raise the statuses of a call that comes too early or too late.
  void RefuseIfShutDown() const;
  void RefuseUnlessConfigured() const;

  std::shared_ptr<CScriptwrightImpl> engine_ = std::make_shared<CScriptwrightImpl>();
  CompPtr<IQueryProcessor> target_;  // written once, before configured_ is set
  VXNodePtr config_;                 // written once, before the thread starts
  std::atomic<bool> configureCalled_{false};
  std::atomic<bool> configured_{false};  // set once Configure succeeded
  std::mutex eventsLock_;
  std::condition_variable eventsChanged_;
  // Written under eventsLock_ (the thread's wait reads it there), read
  // anywhere by the calls that must fail fast; stays set.
  std::atomic<bool> stopEvent_{false};
  bool reinitEvent_ = false;  // guarded by eventsLock_; reset by the waiter
  std::thread reinitThread_;  // guarded by eventsLock_
};

}  // namespace QueriesProcessing
