#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Common/Guid.h"

// Status codes in the 32-bit form used at every component border: 0 is
// success, a negative value a failure.
using HRESULT = int32_t;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
constexpr HRESULT E_NOTFOUND = static_cast<HRESULT>(0x80070490);  // element not found
constexpr HRESULT E_TIMEOUT = static_cast<HRESULT>(0x80070102);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
constexpr HRESULT E_INSUFFICIENT_BUFFER = static_cast<HRESULT>(0x8007007A);
constexpr HRESULT E_INVALID_DATA = static_cast<HRESULT>(0x8007000D);
constexpr HRESULT E_FILE_NOT_FOUND = static_cast<HRESULT>(0x80070002);
// A call that the object's present state refuses.
constexpr HRESULT E_INVALID_STATE = static_cast<HRESULT>(0x8007139F);
constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040154);
constexpr HRESULT E_BAD_GROUP_CONDITION = static_cast<HRESULT>(0x80040C0E);
constexpr HRESULT E_TABLES_MANAGER_UNAVAILABLE = static_cast<HRESULT>(0x80047F01);
constexpr HRESULT E_SHUTTING_DOWN = static_cast<HRESULT>(0x80047F03);

constexpr bool Failed(HRESULT code) { return code < 0; }
constexpr bool Succeeded(HRESULT code) { return code >= 0; }

// A non-positive code stays as it is; a Win32 error becomes 0x8007xxxx.
constexpr HRESULT HresultFromWin32(int32_t code) {
  return code <= 0 ? code : static_cast<HRESULT>((static_cast<uint32_t>(code) & 0xFFFF) | 0x80070000u);
}

// The identity that marks error information as this system's own.
inline const GUID kErrorInfoSource = MakeGuid(u"{64107A4E-9383-4398-97FF-EE55F0DA7FDF}");

// The description of a failure, handed from where it happened to the border
// that reports it. Stands in for the platform's error-information object.
struct ErrorInfo {
  std::u16string description;
  GUID source;
  HRESULT code = 0;
};

// The thread's pending error information. Get takes it and leaves none.
void SetErrorInfo(std::shared_ptr<ErrorInfo> info);
std::shared_ptr<ErrorInfo> GetErrorInfo();

// Holds a status. Assigning a failing code captures the place and the thread's
// pending error information, and raises HRX.
class HRES {
 public:
  HRES() = default;
  HRES(HRESULT code);  // NOLINT: the status reads as a value
  HRES& operator=(HRESULT code);
  // A status that does not raise, for reporting a code.
  static HRES Quiet(HRESULT code) { return HRES(code, NoRaise{}); }

  HRESULT code() const { return code_; }
  operator HRESULT() const { return code_; }  // NOLINT
  bool Succeeded() const { return code_ >= 0; }
  bool Failed() const { return code_ < 0; }
  void Check() const;

  const std::shared_ptr<ErrorInfo>& errorInfo() const { return errorInfo_; }
  const void* const* frames() const { return frames_; }

 protected:
  struct NoRaise {};
  HRES(HRESULT code, NoRaise);
  void Set(HRESULT code, bool raise);

 private:
  HRESULT code_ = 0;
  std::shared_ptr<ErrorInfo> errorInfo_;
  const void* frames_[2] = {};
  uint32_t skipFrames_ = 0;
};

// The one exception type of the library. Thrown by value, caught by reference.
class HRX : public HRES {
 public:
  explicit HRX(const HRES& status) : HRES(status) {}

  // Hands the failure's description to the thread's error information, for
  // the caller across the border, and returns the code.
  HRESULT Report() const;
};

// Raises HRX with `code`, as HRES(code) does. Out of line and cold, so that
// Check costs one test of the sign on the success path.
[[noreturn, gnu::cold]] void ThrowStatus(HRESULT code);

// Raises HRX with `code` unless it is a success.
inline void Check(HRESULT code) {
  if (code < 0) [[unlikely]] ThrowStatus(code);
}

class MessageModule;

// The text of a code, trimmed of trailing " .\r\n": codes 0x80040200 to
// 0x8004FFFF from the message files, others from the system's texts and then
// the fallback message files (for 0x8007xxxx also by the Win32 code), else
// "<no description>". Without a module the answer is cached; with one, only
// that module is asked.
std::u16string GetDescription(HRESULT code, const MessageModule* module = nullptr);

// Flags of FormatStatus: leave out the code, the description, the location.
enum FormatStatusFlags : uint32_t {
  kOmitCode = 1,
  kOmitDescription = 2,
  kOmitLocation = 4,
};

// "0x%08X <description> [<location>]", parts left out by `flags` or empty.
std::u16string FormatStatus(const HRES& status, uint32_t flags = 0);

// Sets the thread's error information to the code's description followed
// directly by `text`, and returns `code`. The next failing HRES picks it up.
HRESULT ReportError(HRESULT code, std::u16string_view text);

// Raises HRX with `code` whose description ends in `text`.
[[noreturn]] void ThrowError(HRESULT code, std::u16string_view text);
