#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>

#include "Common/Nodes/VXNodePtr.h"

// Watches a catalogue file for the host. Changed looks whether the file's
// time or size differs from when it last looked (the first time: from when
// the watch was made); if so it reads the file anew and gives its first node,
// a tree that nobody else holds. A changed file that does not read, or holds
// no node, is reported to `err` as "<path>: 0x%08X <text> (the catalogue in
// use stays)" and gives null, as does a file that did not change. The host
// calls Changed between requests and puts what it gives in use.
class CatalogWatch {
 public:
  explicit CatalogWatch(std::string path);

  VXNodePtr Changed(std::ostream& err);

 private:
  struct Stamp {
    std::filesystem::file_time_type time;
    uintmax_t size = 0;
    bool operator==(const Stamp&) const = default;
  };
  Stamp Look() const;

  std::string path_;
  Stamp seen_;
};
