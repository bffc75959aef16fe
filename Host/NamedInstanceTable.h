#pragma once

#include <map>
#include <mutex>
#include <string>

#include "Common/Components/CompPtr.h"

// The host's named components by instance name, served to the library
// through Provide (the host's AxGetNamedInstance). One table is current at a
// time; Install makes this one current, the destructor uninstalls it.
class NamedInstanceTable {
 public:
  NamedInstanceTable() = default;
  ~NamedInstanceTable();
  NamedInstanceTable(const NamedInstanceTable&) = delete;
  NamedInstanceTable& operator=(const NamedInstanceTable&) = delete;

  void Add(const std::u16string& name, IComponent* component);
  void Install();

  // 0x80070490 naming nothing known, 0x80004002 for an interface the
  // component lacks.
  static HRESULT Provide(const char16_t* name, uint32_t flags, const GUID* iid, void** out);

 private:
  std::mutex lock_;
  std::map<std::u16string, CompPtr<IComponent>> components_;  // guarded by lock_
};
