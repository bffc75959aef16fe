#include "Common/Components/ModuleDiagnostics.h"

#include <memory>

#include "Common/Components/CompPtr.h"
#include "Common/Logger.h"
#include "Common/OperationFrame.h"

namespace {

const ClassRegistration<CModuleDiagnostics> kRegistration(kModuleDiagnosticsClassId);

// Hands the log's lines to a host's sink. Like every logger of the log, it is
// never freed, and so keeps the sink alive to the end.
class SinkLogger final : public Logger {
 public:
  explicit SinkLogger(ILogSink* sink) : sink_(sink) {}
  void Write(const char16_t* text, size_t length) override { sink_->Write(text, length); }

 private:
  CompPtr<ILogSink> sink_;
};

}  // namespace

HRESULT CModuleDiagnostics::TakeErrorInfo(ErrorInfo* info) {
  if (!info) return E_INVALIDARG;
  const std::shared_ptr<ErrorInfo> pending = GetErrorInfo();
  if (!pending) return S_FALSE;
  return OperationFrame("CModuleDiagnostics::TakeErrorInfo", [&] { *info = *pending; });
}

HRESULT CModuleDiagnostics::SetMaxSeverity(int32_t severity) {
  if (severity < static_cast<int32_t>(Severity::NONE) ||
      severity > static_cast<int32_t>(Severity::DBG3)) {
    return E_INVALIDARG;
  }
  ::SetMaxSeverity(static_cast<Severity>(severity));
  return S_OK;
}

HRESULT CModuleDiagnostics::AddLogSink(ILogSink* sink) {
  if (!sink) return E_INVALIDARG;
  return OperationFrame("CModuleDiagnostics::AddLogSink", [&] {
    auto logger = std::make_unique<SinkLogger>(sink);
    if (!AddLogger(logger.get())) ThrowError(E_FAIL, u": the log has no free logger slot");
    logger.release();  // the log keeps it
  });
}
