#include "Common/OperationFrame.h"

#include <new>
#include <stdexcept>
#include <string>

namespace {

HRESULT CodeOf(const std::exception* exception) {
  if (dynamic_cast<const std::bad_alloc*>(exception)) return E_OUTOFMEMORY;
  if (dynamic_cast<const std::invalid_argument*>(exception) ||
      dynamic_cast<const std::out_of_range*>(exception)) {
    return E_INVALIDARG;
  }
  return E_FAIL;
}

std::u16string TextOf(const std::exception* exception) {
  if (!exception) return u": an exception of unknown type";
  const char* what = exception->what();
  return u": " + ToUtf16(what ? what : "");
}

}  // namespace

namespace FrameDetail {

HRESULT ReportFailure(const char* qualifiedName, const HRX& failure) noexcept {
  try {
    VX_LOG(Severity::ERR, qualifiedName << u" failed: " << FormatStatus(failure, 0));
    return failure.Report();
  } catch (...) {
    // Out of memory even for the report: the code still gets through.
    return failure.code();
  }
}

HRESULT ReportException(const char* qualifiedName, const std::exception* exception) noexcept {
  const HRESULT code = CodeOf(exception);
  try {
    const HRX failure(HRES::Quiet(ReportError(code, TextOf(exception))));
    // The frames captured here would point at this border, not at the throw.
    VX_LOG(Severity::ERR, qualifiedName << u" failed: " << FormatStatus(failure, kOmitLocation));
    return failure.Report();
  } catch (...) {
    return code;
  }
}

}  // namespace FrameDetail
