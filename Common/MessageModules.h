#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Common/MessageModule.h"

// The process's message files, loaded once on first use from the settings
// `MessageFile` (default "Faulttexts.dll", the built-in texts) and
// `FallbackMessageFile` (default none) of section "ErrorHandling". Each is a
// list split at ",", "|" and ";", empty entries skipped.
//
// A `MessageFile` entry must be a bare name, found in the program's
// directory: a name holding "/" or "\" is refused with 0x80070057, so the
// primary texts cannot be taken from elsewhere. `FallbackMessageFile` entries
// are opened as written. Each table holds five modules at most. An entry that
// fails is logged at ERR ("Loading errormsg module '<name>' failed: <code>")
// and skipped. Read-only after loading, so safe to share.
class MessageModules {
 public:
  static const MessageModules& Instance();

  // Reads the two settings and loads them. A failure of the whole step (a
  // settings source that raises, memory running out) never escapes: it is
  // logged at ERR as "Loading error message module(s)", ": " and its text,
  // and the tables keep what was loaded before it.
  static MessageModules FromSettings(const std::string& programDirectory);

  // Loads the two lists as given; `programDirectory` is put before the
  // primary names.
  MessageModules(std::u16string_view primaryList, std::u16string_view fallbackList,
                 const std::string& programDirectory);

  static constexpr size_t kSlots = 5;
  const std::vector<std::shared_ptr<const MessageModule>>& primary() const { return primary_; }
  const std::vector<std::shared_ptr<const MessageModule>>& fallback() const { return fallback_; }

 private:
  MessageModules() = default;
  void LoadList(std::u16string_view list, const std::string& directory, bool primary,
                std::vector<std::shared_ptr<const MessageModule>>& table);

  std::vector<std::shared_ptr<const MessageModule>> primary_;
  std::vector<std::shared_ptr<const MessageModule>> fallback_;
};
