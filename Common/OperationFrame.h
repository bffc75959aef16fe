#pragma once

#include <exception>
#include <type_traits>

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"

// The two frames that turn a failure raised inside into a status.
//
// Both log at ERR "<qualifiedName> failed: " and the status (code,
// description, location), hand the description to the thread's error
// information (GetErrorInfo) and return the code. A body that returns a
// status has it returned as it is (not logged); a body that returns nothing
// gives 0.

namespace FrameDetail {

// Logs and reports `failure`; returns its code. Never raises.
HRESULT ReportFailure(const char* qualifiedName, const HRX& failure) noexcept;
// The same for a standard exception, or for an exception of another type when
// `exception` is null, with the code ComponentBorder documents; the
// description is the code's text, ": " and the exception's what().
HRESULT ReportException(const char* qualifiedName, const std::exception* exception) noexcept;

template <typename Body>
HRESULT Run(Body& body) {
  using Result = std::invoke_result_t<Body&>;
  static_assert(std::is_void_v<Result> || std::is_same_v<Result, HRESULT>,
                "a frame's body returns nothing or a status");
  if constexpr (std::is_void_v<Result>) {
    body();
    return S_OK;
  } else {
    return body();
  }
}

}  // namespace FrameDetail

// The frame of Initialize and ProcessNode inside the library (and of the
// engine's operations): catches HRX only. Other exceptions pass through, up
// to the component border.
//   return OperationFrame("CTopProcessor::ProcessNode", [&] { ... });
template <typename Body>
HRESULT OperationFrame(const char* qualifiedName, Body&& body) {
  try {
    return FrameDetail::Run(body);
  } catch (const HRX& failure) {
    return FrameDetail::ReportFailure(qualifiedName, failure);
  }
}

// The border of every operation a host calls (ProcessQuery, CancelQuery,
// Configure, Shutdown, the notifications, NotifyGetResult, the module
// object's operations) and of the body of a background thread: nothing
// escapes it. Besides HRX it turns
//   std::bad_alloc                            into 0x8007000E,
//   std::invalid_argument, std::out_of_range  into 0x80070057,
//   any other std::exception, or any other
//   thrown value                              into 0x80004005,
// each logged and reported like an HRX, with the exception's text:
//   return ComponentBorder("QueriesProcessing::CScriptwright::ProcessQuery", [&] { ... });
template <typename Body>
HRESULT ComponentBorder(const char* qualifiedName, Body&& body) noexcept {
  try {
    return FrameDetail::Run(body);
  } catch (const HRX& failure) {
    return FrameDetail::ReportFailure(qualifiedName, failure);
  } catch (const std::exception& exception) {
    return FrameDetail::ReportException(qualifiedName, &exception);
  } catch (...) {
    return FrameDetail::ReportException(qualifiedName, nullptr);
  }
}
