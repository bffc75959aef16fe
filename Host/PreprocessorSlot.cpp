#include "Host/PreprocessorSlot.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "Common/Components/ServerInterfaces.h"

namespace {

// The membership preprocessor's class.
const GUID kPreprocessorClassId = MakeGuid(u"{0DD265D7-9C92-4FC0-9CBE-32D691746561}");

// Calls `expire` on a thread of its own unless it is destroyed within
// `wait`; the destructor returns once that thread has ended.
class Watchdog {
 public:
  Watchdog(std::chrono::milliseconds wait, std::function<void()> expire)
      : thread_([this, wait, expire = std::move(expire)] {
          std::unique_lock lock(lock_);
          if (done_.wait_for(lock, wait, [this] { return finished_; })) return;
          lock.unlock();
          expire();
        }) {}
  ~Watchdog() {
    {
      std::lock_guard guard(lock_);
      finished_ = true;
    }
    done_.notify_one();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::mutex lock_;
  std::condition_variable done_;
  bool finished_ = false;  // guarded by lock_
  std::thread thread_;     // last: it uses the members above
};

}  // namespace

PreprocessorSlot::PreprocessorSlot(CompPtr<IModuleObject> module,
                                   const LibraryDiagnostics& diagnostics,
                                   std::chrono::milliseconds wait,
                                   std::function<void(IComponent*)> retire)
    : module_(std::move(module)), diagnostics_(diagnostics), wait_(wait), retire_(std::move(retire)) {}

PreprocessorSlot::~PreprocessorSlot() {
  if (!preprocessor_) return;
  Shutdown(preprocessor_);
  if (retire_) retire_(preprocessor_.get());
}

HRESULT PreprocessorSlot::Load(const VXNodePtr& configuration, std::string& failure) {
  CompPtr<IConfigurable> made;
  HRESULT status =
      module_->GetClassObject(kPreprocessorClassId, IConfigurable::kIid, made.ReceiveVoid());
  if (Succeeded(status)) status = made->Configure(configuration.Clone());
  CompPtr<IQueryProcessor> queries = made.As<IQueryProcessor>();
  CompPtr<IResultNotification> notifications = made.As<IResultNotification>();
  if (Succeeded(status) && (!queries || !notifications)) {
    Shutdown(made);
    status = E_NOINTERFACE;
  }
  if (Succeeded(status)) {
    preprocessor_ = std::move(made);
    queries_ = std::move(queries);
    notifications_ = std::move(notifications);
    return S_OK;
  }
  failure = diagnostics_.FailureText(status);
  if (made) {
    // A Configure that failed has shut the component down itself; the host's
    // components may still hold it.
    if (retire_) retire_(made.get());
  }
  return status;
}

HRESULT PreprocessorSlot::Process(const VXNodePtr& query, std::string& failure) {
  bool stopped = false;
  HRESULT status = S_OK;
  {
    Watchdog watchdog(wait_, [&] {
      stopped = true;
      Shutdown(preprocessor_);
    });
    status = queries_->ProcessQuery(query);
  }
  if (Failed(status) && stopped) {
    Checked(status, failure);
    failure += " (the host stopped the membership preprocessor after " +
               std::to_string(wait_.count()) + " ms)";
    return status;
  }
  return Checked(status, failure);
}

HRESULT PreprocessorSlot::Cancel(const VXNodePtr& request, std::string& failure) {
  return Checked(queries_->CancelQuery(request), failure);
}

HRESULT PreprocessorSlot::KeepAlive(const VXNodePtr& request, std::string& failure) {
  return Checked(notifications_->NotifyGetResult(request), failure);
}

HRESULT PreprocessorSlot::Shutdown(const CompPtr<IConfigurable>& preprocessor) {
  const auto shutdown = preprocessor.As<IShutdown>();
  return shutdown ? shutdown->Shutdown() : S_OK;
}

HRESULT PreprocessorSlot::Checked(HRESULT status, std::string& failure) const {
  if (Failed(status)) failure = diagnostics_.FailureText(status);
  return status;
}
