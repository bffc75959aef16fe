#include "Common/MessageModules.h"

#include <exception>

#include "Common/FormatString.h"
#include "Common/Helpers/ModuleInfo.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Logger.h"

namespace {

constexpr std::u16string_view kBuiltInName = u"Faulttexts.dll";

// Only the code: describing it would need the tables being built here.
std::u16string CodeText(HRESULT status) {
  return FormatString(u"0x%08X", static_cast<uint32_t>(status));
}

HRESULT LoadOne(const std::u16string& name, const std::string& directory, bool primary,
                MessageModule& module) {
  if (name == kBuiltInName) {
    module = MessageModule::BuiltIn();
    return S_OK;
  }
  if (!primary) return MessageModule::Load(ToUtf8(name), module);
  if (name.find_first_of(u"/\\") != std::u16string::npos) return E_INVALIDARG;
  return MessageModule::Load(directory.empty() ? ToUtf8(name) : directory + "/" + ToUtf8(name),
                             module);
}

}  // namespace

const MessageModules& MessageModules::Instance() {
  static const MessageModules* instance =
      new MessageModules(FromSettings(DirectoryOf(ModuleInfo::ProgramPath())));
  return *instance;
}

MessageModules MessageModules::FromSettings(const std::string& programDirectory) {
  MessageModules modules;
  try {
    modules.LoadList(ReadSettingOrDefault(u"ErrorHandling", u"MessageFile", kBuiltInName),
                     programDirectory, true, modules.primary_);
    modules.LoadList(ReadSettingOrDefault(u"ErrorHandling", u"FallbackMessageFile", u""), "", false,
                     modules.fallback_);
  } catch (const HRX& failure) {
    VX_LOG(Severity::ERR, u"Loading error message module(s)" << u": " << CodeText(failure.code()));
  } catch (const std::exception& failure) {
    VX_LOG(Severity::ERR, u"Loading error message module(s)" << u": " << failure.what());
  }
  return modules;
}

MessageModules::MessageModules(std::u16string_view primaryList, std::u16string_view fallbackList,
                               const std::string& programDirectory) {
  LoadList(primaryList, programDirectory, true, primary_);
  LoadList(fallbackList, "", false, fallback_);
}

void MessageModules::LoadList(std::u16string_view list, const std::string& directory, bool primary,
                              std::vector<std::shared_ptr<const MessageModule>>& table) {
  while (!list.empty()) {
    const size_t end = list.find_first_of(u",|;");
    const std::u16string name(list.substr(0, end));
    list = end == std::u16string_view::npos ? std::u16string_view() : list.substr(end + 1);
    if (name.empty()) continue;
    auto module = std::make_shared<MessageModule>();
    const HRESULT status = LoadOne(name, directory, primary, *module);
    if (Failed(status)) {
      VX_LOG(Severity::ERR,
             u"Loading errormsg module '" << name << u"'" << u" failed: " << CodeText(status));
      continue;
    }
    if (table.size() == kSlots) {
      VX_LOG(Severity::ERR,
             u"Loading errormsg module '" << name << u"'" << u" failed: " << u"No more slots");
      continue;
    }
    table.push_back(std::move(module));
  }
}
