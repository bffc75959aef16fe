#pragma once

#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

// Descriptions already looked up, by code; process-wide. Readers share the
// lock, writers take it alone.
//
// Enabled from the start. While disabled, Find misses and Store keeps
// nothing, so every description is looked up afresh; disabling also forgets
// what was kept.
class MessageCache {
 public:
  static MessageCache& Instance();

  std::optional<std::u16string> Find(uint32_t code) const;
  void Store(uint32_t code, const std::u16string& text);

  void SetEnabled(bool enabled);
  bool enabled() const;

 private:
  mutable std::shared_mutex lock_;
  std::unordered_map<uint32_t, std::u16string> texts_;  // guarded by lock_
  bool enabled_ = true;                                 // guarded by lock_
};
