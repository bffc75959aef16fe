#include "Common/MessageCache.h"

#include <mutex>

MessageCache& MessageCache::Instance() {
  static MessageCache* instance = new MessageCache;
  return *instance;
}

std::optional<std::u16string> MessageCache::Find(uint32_t code) const {
  std::shared_lock guard(lock_);
  if (!enabled_) return std::nullopt;
  auto it = texts_.find(code);
  if (it == texts_.end()) return std::nullopt;
  return it->second;
}

void MessageCache::Store(uint32_t code, const std::u16string& text) {
  std::unique_lock guard(lock_);
  if (enabled_) texts_[code] = text;
}

void MessageCache::SetEnabled(bool enabled) {
  std::unique_lock guard(lock_);
  enabled_ = enabled;
  if (!enabled) texts_.clear();
}

bool MessageCache::enabled() const {
  std::shared_lock guard(lock_);
  return enabled_;
}
