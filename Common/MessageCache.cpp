#include "Common/MessageCache.h"

#include <mutex>

MessageCache& MessageCache::Instance() {
  static MessageCache* instance = new MessageCache;
  return *instance;
}

std::optional<std::u16string> MessageCache::Find(uint32_t code) const {
  std::shared_lock guard(lock_);
  auto it = texts_.find(code);
  if (it == texts_.end()) return std::nullopt;
  return it->second;
}

void MessageCache::Store(uint32_t code, const std::u16string& text) {
  std::unique_lock guard(lock_);
  texts_[code] = text;
}
