#pragma once

#include <map>
#include <mutex>
#include <typeinfo>
#include <vector>

// Records the component objects alive in the module, when the setting
// `EnableAliveObjectsTracking` of section "Debug" is non-zero; each record is
// the object's class and the return addresses of its creation, skipping
// `AliveObjectsTrackingFramesToSkip` frames. The dump tags each object with
// its class's readable (demangled) name:
//   ObjTag='CComponentObject<class QueriesProcessing::CScriptwright>::CComponentObject'
// Has its own lock.
class DbgAliveObjectsTracker {
 public:
  static DbgAliveObjectsTracker& Instance();

  // Tracking as the settings say, read once.
  DbgAliveObjectsTracker();
  DbgAliveObjectsTracker(bool enabled, int framesToSkip)
      : enabled_(enabled), framesToSkip_(framesToSkip) {}

  bool Enabled() const { return enabled_; }
  // A record that cannot be stored (out of memory) is dropped: the tracker
  // is a debugging aid and never fails the creation it watches.
  void Add(const void* object, const std::type_info& type) noexcept;
  void Remove(const void* object);
  size_t Count() const;
  // "Alive component objects: N" at WARN, then one line per object; nothing
  // when tracking is off or no object lives.
  void Dump() const;

 private:
  struct Record {
    const std::type_info* type;
    std::vector<void*> frames;
  };

  bool enabled_ = false;
  int framesToSkip_ = 0;
  mutable std::mutex lock_;
  std::map<const void*, Record> objects_;  // guarded by lock_
};
