#include "Common/MessageModules.h"

#include "Common/FormatString.h"
#include "Common/Helpers/ModuleInfo.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Logger.h"

namespace {

constexpr std::u16string_view kBuiltInName = u"Faulttexts.dll";

}  // namespace

const MessageModules& MessageModules::Instance() {
  static const MessageModules* instance = new MessageModules(
      ReadSettingOrDefault(u"ErrorHandling", u"MessageFile", kBuiltInName),
      ReadSettingOrDefault(u"ErrorHandling", u"FallbackMessageFile", u""),
      DirectoryOf(ModuleInfo::ProgramPath()));
  return *instance;
}

MessageModules::MessageModules(std::u16string_view primaryList, std::u16string_view fallbackList,
                               const std::string& programDirectory) {
  LoadList(primaryList, programDirectory, primary_);
  LoadList(fallbackList, "", fallback_);
}

void MessageModules::LoadList(std::u16string_view list, const std::string& directory,
                              std::vector<std::shared_ptr<const MessageModule>>& table) {
  while (!list.empty()) {
    const size_t end = list.find_first_of(u",|;");
    const std::u16string name(list.substr(0, end));
    list = end == std::u16string_view::npos ? std::u16string_view() : list.substr(end + 1);
    if (name.empty()) continue;
    auto module = std::make_shared<MessageModule>();
    HRESULT status = S_OK;
    if (name == kBuiltInName) {
      *module = MessageModule::BuiltIn();
    } else {
      std::string path = ToUtf8(name);
      if (!directory.empty() && path.find('/') == std::string::npos) path = directory + "/" + path;
      status = MessageModule::Load(path, *module);
    }
    if (Failed(status)) {
      // Only the code: describing it would need the tables being built here.
      VX_LOG(Severity::ERR, u"Loading errormsg module '" << name << u"'" << u" failed: "
                                                        << FormatString(u"0x%08X", static_cast<uint32_t>(status)));
      continue;
    }
    if (table.size() == kSlots) {
      VX_LOG(Severity::ERR, u"Loading errormsg module '" << name << u"'" << u" failed: " << u"No more slots");
      continue;
    }
    table.push_back(std::move(module));
  }
}
