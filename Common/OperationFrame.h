#pragma once

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"

// The border of every component operation, Initialize and ProcessNode: runs
// `body`, and turns an HRX raised inside into a logged, reported status.
//   return OperationFrame("CTopProcessor::ProcessNode", [&] { ... });
// Exceptions other than HRX pass through.
template <typename Body>
HRESULT OperationFrame(const char* qualifiedName, Body&& body) {
  try {
    body();
    return S_OK;
  } catch (const HRX& failure) {
    VX_LOG(Severity::ERR, qualifiedName << u" failed: " << FormatStatus(failure, 0));
    return failure.Report();
  }
}
