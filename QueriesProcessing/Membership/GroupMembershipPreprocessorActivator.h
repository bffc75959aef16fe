#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "Common/Components/ComponentObject.h"
#include "Common/Helpers/AsyncAction.h"

namespace QueriesProcessing {

// The activator of the group membership preprocessor, class
// {50A80F11-A323-4F79-884F-DAD619B23109}: makes sure that a named component
// is created and configured by the host even before any request asks for it.
//
// Configuration:
//   InitializeRetrySec  integer, required, >= 0: seconds between attempts
//   TargetComponent     string, required: the named instance to bring up
// Missing: 0x80070490; negative: 0x80070057. A failed Configure shuts the
// activator down; a second Configure fails with 0x8007139F.
//
// The first attempt comes InitializeRetrySec seconds after Configure, and
// another every InitializeRetrySec seconds until the host gives the named
// instance (its failures are swallowed); then nothing more happens. With 0
// there is one attempt, at once, and no retry.
//
// Shutdown stops the attempts (one running finishes); FinalRelease joins
// their thread. Every operation is a component border. Thread-safe.
class CGroupMembershipPreprocessorActivator : public CComponentBase,
                                              public IWeakReferenceSource,
                                              public IShutdown,
                                              public IConfigurable {
 public:
  using Interfaces = std::tuple<IWeakReferenceSource, IShutdown, IConfigurable>;
  static inline const GUID kClassId = MakeGuid(u"{50A80F11-A323-4F79-884F-DAD619B23109}");

  void FinalRelease();

  HRESULT GetWeakReference(IWeakReference** out) override;
  HRESULT Shutdown() override;
  HRESULT Configure(const VXNodePtr& configuration) override;

 private:
  void Activate();

  std::u16string targetComponent_;  // written by Configure before the action starts
  std::atomic<bool> configureCalled_{false};
  std::mutex actionLock_;
  bool shutDown_ = false;                // guarded by actionLock_
  std::unique_ptr<CAsyncAction> action_;  // guarded by actionLock_
};

}  // namespace QueriesProcessing
