#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Common/MessageModule.h"

// The process's message files, loaded once on first use from the settings
// `MessageFile` (default "Faulttexts.dll", the built-in texts) and
// `FallbackMessageFile` (default none) of section "ErrorHandling". Each is a
// list split at ",", "|" and ";". A `MessageFile` entry without a '/' is taken
// from the program's directory. Each table holds five modules at most; a
// failure to load one is logged and skipped. Read-only after loading.
class MessageModules {
 public:
  static const MessageModules& Instance();

  // Loads the two lists as given; `programDirectory` is put before primary
  // names without a '/'.
  MessageModules(std::u16string_view primaryList, std::u16string_view fallbackList,
                 const std::string& programDirectory);

  static constexpr size_t kSlots = 5;
  const std::vector<std::shared_ptr<const MessageModule>>& primary() const { return primary_; }
  const std::vector<std::shared_ptr<const MessageModule>>& fallback() const { return fallback_; }

 private:
  void LoadList(std::u16string_view list, const std::string& directory,
                std::vector<std::shared_ptr<const MessageModule>>& table);

  std::vector<std::shared_ptr<const MessageModule>> primary_;
  std::vector<std::shared_ptr<const MessageModule>> fallback_;
};
