#include "Common/Components/DbgAliveObjectsTracker.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "Common/FormatString.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/Logger.h"

namespace {

int ReadInteger(std::u16string_view key) {
  return std::atoi(ToUtf8(ReadSettingOrDefault(u"Debug", key, u"0")).c_str());
}

// "QueriesProcessing::CScriptwright" for the mangled name of that class; the
// mangled name itself if it cannot be read.
std::string ReadableName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return status == 0 && name ? std::string(name.get()) : std::string(type.name());
}

std::string TagOf(const std::type_info& type) {
  return "CComponentObject<class " + ReadableName(type) + ">::CComponentObject";
}

}  // namespace

DbgAliveObjectsTracker& DbgAliveObjectsTracker::Instance() {
  static DbgAliveObjectsTracker* instance = new DbgAliveObjectsTracker;
  return *instance;
}

DbgAliveObjectsTracker::DbgAliveObjectsTracker()
    : enabled_(ReadInteger(u"EnableAliveObjectsTracking") != 0),
      framesToSkip_(ReadInteger(u"AliveObjectsTrackingFramesToSkip")) {}

void DbgAliveObjectsTracker::Add(const void* object, const std::type_info& type) noexcept {
  if (!enabled_) return;
  try {
    void* stack[32];
    const int depth = backtrace(stack, 32);
    Record record{&type, {}};
    for (int i = framesToSkip_ + 1; i < depth; ++i) record.frames.push_back(stack[i]);
    std::lock_guard guard(lock_);
    objects_[object] = std::move(record);
  } catch (...) {
    // Out of memory: the object goes untracked.
  }
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
    for (void* frame : record.frames)
      frames += FormatString(u"%#p;", static_cast<const void*>(frame));
    VX_LOG(Severity::WARN, u"ObjTag='" << TagOf(*record.type) << u"' Ptr="
                                       << FormatString(u"%p", object) << u" EIPs=" << frames);
  }
}
