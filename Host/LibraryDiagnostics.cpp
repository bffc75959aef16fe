#include "Host/LibraryDiagnostics.h"

#include <memory>

#include "Common/FormatString.h"
#include "Host/HostComponents.h"

LibraryDiagnostics::LibraryDiagnostics(const CompPtr<IModuleObject>& module) {
  Check(module->GetClassObject(kModuleDiagnosticsClassId, IErrorInfoSource::kIid,
                               errors_.ReceiveVoid()));
  log_ = errors_.As<ILogControl>();
  if (!log_) Check(E_NOINTERFACE);
}

std::string LibraryDiagnostics::FailureText(HRESULT code) const {
  ErrorInfo info;
  const bool left = errors_->TakeErrorInfo(&info) == S_OK;
  return FormatFailure(code, left ? &info : nullptr);
}

void LibraryDiagnostics::SetMaxSeverity(Severity severity) const {
  Check(log_->SetMaxSeverity(static_cast<int32_t>(severity)));
}

void LibraryDiagnostics::AddLogger(Logger* logger) const {
  auto* made = MakeHostComponent<CHostLogSink>();
  made->SetLogger(logger);
  const auto sink = CompPtr<ILogSink>::Attach(made);
  Check(log_->AddLogSink(sink.get()));
}

void LibraryDiagnostics::Check(HRESULT code) const {
  if (Succeeded(code)) return;
  auto info = std::make_shared<ErrorInfo>();
  if (errors_->TakeErrorInfo(info.get()) == S_OK) SetErrorInfo(std::move(info));
  ::Check(code);
}

std::string FormatFailure(HRESULT code, const ErrorInfo* info) {
  const std::u16string text = info && info->code == code ? info->description : GetDescription(code);
  return ToUtf8(FormatString(u"0x%08X %s", static_cast<uint32_t>(code), text));
}
