#include "Common/ErrorHandling.h"

#include <execinfo.h>

#include <algorithm>
#include <optional>
#include <vector>
#include <unordered_map>
#include <utility>

#include "Common/FormatString.h"
#include "Common/MessageCache.h"
#include "Common/MessageModule.h"
#include "Common/MessageModules.h"

namespace {

thread_local std::shared_ptr<ErrorInfo> tPendingErrorInfo;

// The system's texts of the codes this library meets.
const std::unordered_map<uint32_t, std::u16string_view>& SystemTexts() {
  static const std::unordered_map<uint32_t, std::u16string_view> table = {
      {0x80070057, u"The parameter is incorrect."},
      {0x80070490, u"Element not found."},
      {0x80070005, u"Access is denied."},
      {0x80070102, u"The wait operation timed out."},
      {0x80004005, u"Unspecified error"},
      {0x80004002, u"No such interface supported"},
      {0x80004003, u"Invalid pointer"},
      {0x80004004, u"Operation aborted"},
      {0x8007000E, u"Not enough memory resources are available to complete this operation."},
      {0x8007007A, u"The data area passed to a system call is too small."},
      {0x8007000D, u"The data is invalid."},
      {0x80070002, u"The system cannot find the file specified."},
      {0x8007139F,
       u"The group or resource is not in the correct state to perform the requested operation."},
      {0x80040154, u"Class not registered"},
  };
  return table;
}

std::optional<std::u16string> SystemText(uint32_t id) {
  const auto& table = SystemTexts();
  auto it = table.find(id);
  if (it == table.end() && id <= 0xFFFF) it = table.find(static_cast<uint32_t>(HresultFromWin32(static_cast<int32_t>(id))));
  if (it == table.end()) return std::nullopt;
  return std::u16string(it->second);
}

std::optional<std::u16string> LookUp(uint32_t code) {
  const auto& modules = MessageModules::Instance();
  if (code >= 0x80040200 && code < 0x80050000) {
    for (const auto& module : modules.primary()) {
      if (auto text = module->Find(code)) return text;
    }
  }
  std::vector<uint32_t> ids = {code};
  if (((code >> 16) & 0x1FFF) == 7) ids.push_back(code & 0xFFFF);
  for (uint32_t id : ids) {
    if (auto text = SystemText(id)) return text;
    for (const auto& module : modules.fallback()) {
      if (auto text = module->Find(id)) return text;
    }
  }
  return std::nullopt;
}

std::u16string TrimEnd(std::u16string_view text) {
  const size_t end = text.find_last_not_of(u" .\r\n");
  return std::u16string(text.substr(0, end == std::u16string_view::npos ? 0 : end + 1));
}

}  // namespace

void SetErrorInfo(std::shared_ptr<ErrorInfo> info) { tPendingErrorInfo = std::move(info); }

std::shared_ptr<ErrorInfo> GetErrorInfo() { return std::exchange(tPendingErrorInfo, nullptr); }

HRES::HRES(HRESULT code) { Set(code, true); }

HRES::HRES(HRESULT code, NoRaise) { Set(code, false); }

HRES& HRES::operator=(HRESULT code) {
  Set(code, true);
  return *this;
}

void HRES::Set(HRESULT code, bool raise) {
  code_ = code;
  errorInfo_.reset();
  frames_[0] = frames_[1] = nullptr;
  if (code >= 0) return;
  void* stack[8] = {};
  const int skip = static_cast<int>(skipFrames_) + 3;
  const int depth = backtrace(stack, std::min(skip + 2, 8));
  for (int i = 0; i < 2 && skip + i < depth; ++i) frames_[i] = stack[skip + i];
  errorInfo_ = GetErrorInfo();
  if (raise) throw HRX(*this);
}

void HRES::Check() const {
  if (code_ < 0) throw HRX(*this);
}

HRESULT HRX::Report() const {
  if (code() < 0) {
    auto info = std::make_shared<ErrorInfo>();
    info->code = code();
    info->source = kErrorInfoSource;
    info->description = FormatStatus(*this, kOmitCode | kOmitLocation);
    SetErrorInfo(std::move(info));
  }
  return code();
}

std::u16string GetDescription(HRESULT code, const MessageModule* module) {
  const auto key = static_cast<uint32_t>(code);
  if (module) return TrimEnd(module->Find(key).value_or(u"<no description>"));
  if (auto cached = MessageCache::Instance().Find(key)) return *cached;
  const std::u16string text = TrimEnd(LookUp(key).value_or(u"<no description>"));
  MessageCache::Instance().Store(key, text);
  return text;
}

std::u16string FormatStatus(const HRES& status, uint32_t flags) {
  std::u16string description;
  const auto& info = status.errorInfo();
  if (info && info->source == kErrorInfoSource && info->code == status.code()) {
    description = info->description;
  }
  if (description.empty()) description = GetDescription(status.code());
  std::u16string location;
  for (int i = 0; i < 2 && status.frames()[i]; ++i) {
    if (i) location += u',';
    location += FormatString(u"0x%08p", status.frames()[i]);
  }
  std::u16string text;
  if (!(flags & kOmitCode)) text = FormatString(u"0x%08X ", static_cast<uint32_t>(status.code()));
  if (!(flags & kOmitDescription)) text += description;
  if (!(flags & kOmitLocation) && !location.empty()) text += FormatString(u" [%s]", location);
  return text;
}

HRESULT ReportError(HRESULT code, std::u16string_view text) {
  auto info = std::make_shared<ErrorInfo>();
  info->code = code;
  info->source = kErrorInfoSource;
  info->description = GetDescription(code);
  info->description += text;
  SetErrorInfo(std::move(info));
  return code;
}

void ThrowStatus(HRESULT code) {
  HRES status(code);
  throw HRX(status);  // only reached for a non-failing code
}

void ThrowError(HRESULT code, std::u16string_view text) {
  HRES status(ReportError(code, text));
  throw HRX(status);  // only reached for a non-failing code
}
