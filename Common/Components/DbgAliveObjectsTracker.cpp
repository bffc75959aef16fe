#include "Common/Components/DbgAliveObjectsTracker.h"

#include <execinfo.h>

#include <cstdlib>

#include "Common/FormatString.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Logger.h"

namespace {

int ReadInteger(std::u16string_view key) {
  return std::atoi(ToUtf8(ReadSettingOrDefault(u"Debug", key, u"0")).c_str());
}

}  // namespace

DbgAliveObjectsTracker& DbgAliveObjectsTracker::Instance() {
  static DbgAliveObjectsTracker* instance = new DbgAliveObjectsTracker;
  return *instance;
}

DbgAliveObjectsTracker::DbgAliveObjectsTracker()
    : enabled_(ReadInteger(u"EnableAliveObjectsTracking") != 0),
      framesToSkip_(ReadInteger(u"AliveObjectsTrackingFramesToSkip")) {}

void DbgAliveObjectsTracker::Add(const void* object, std::string tag) {
  if (!enabled_) return;
  void* stack[32];
  const int depth = backtrace(stack, 32);
  Record record{std::move(tag), {}};
  for (int i = framesToSkip_ + 1; i < depth; ++i) record.frames.push_back(stack[i]);
  std::lock_guard guard(lock_);
  objects_[object] = std::move(record);
}

void DbgAliveObjectsTracker::Remove(const void* object) {
  if (!enabled_) return;
  std::lock_guard guard(lock_);
  objects_.erase(object);
}

size_t DbgAliveObjectsTracker::Count() const {
  std::lock_guard guard(lock_);
  return objects_.size();
}

void DbgAliveObjectsTracker::Dump() const {
  std::lock_guard guard(lock_);
  if (!enabled_ || objects_.empty()) return;
  VX_LOG(Severity::WARN, u"Alive component objects: " << objects_.size());
  for (const auto& [object, record] : objects_) {
    std::u16string frames;
    for (void* frame : record.frames) frames += FormatString(u"%#p;", static_cast<const void*>(frame));
    VX_LOG(Severity::WARN, u"ObjTag='" << record.tag << u"' Ptr=" << FormatString(u"%p", object) << u" EIPs="
                                       << frames);
  }
}
