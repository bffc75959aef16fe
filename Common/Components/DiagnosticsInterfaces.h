#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/Components/IComponent.h"
#include "Common/ErrorHandling.h"

// What a host that loads the module with dlopen reaches of the module besides
// its component classes. A host linked with the module would call
// GetErrorInfo, SetMaxSeverity and AddLogger directly; the module exports
// nothing but GetComponentsModuleObject and the named-instance hook, so these
// interfaces carry the same calls across the border. The class that serves
// them is made like any other, through the module object.
inline const GUID kModuleDiagnosticsClassId = MakeGuid(u"{73B94F88-DF19-40E1-9EE9-45B816564825}");

// The calling thread's pending error information in the module: what a caller
// of a failing operation reads to learn its text, on the thread that called it.
struct IErrorInfoSource : IComponent {
  static inline const GUID kIid = MakeGuid(u"{48743BBA-F88F-4660-A05D-BFDB5DB75AED}");
  // Takes the information, so that none remains: 0 with `*info` filled, or 1
  // (S_FALSE) with `*info` untouched when there is none. Null: 0x80070057.
  virtual HRESULT TakeErrorInfo(ErrorInfo* info) = 0;
};

// A host's destination of the module's log lines. Gets every finished line,
// as the module's own log file does (UTF-16, ending in "\r\n"), from any
// thread, at the same time from several. Write never raises.
struct ILogSink : IComponent {
  static inline const GUID kIid = MakeGuid(u"{770872DA-1DAF-4710-866C-D8C4CC48D977}");
  virtual void Write(const char16_t* text, size_t length) = 0;
};

// The module's process-wide log.
struct ILogControl : IComponent {
  static inline const GUID kIid = MakeGuid(u"{4AADB616-890C-4A04-AB78-9B8C5DF4AF2D}");
  // The highest severity written (0 NONE ... 7 DBG3), in place of the
  // `MaxSeverity` setting from now on. Out of that range: 0x80070057.
  virtual HRESULT SetMaxSeverity(int32_t severity) = 0;
  // Adds `sink` as one of the log's four loggers. The log holds a reference
  // to it until the process ends. Null: 0x80070057; no free slot: 0x80004005.
  virtual HRESULT AddLogSink(ILogSink* sink) = 0;
};
