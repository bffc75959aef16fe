#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "Common/Nodes/VXNodePtr.h"

// Watches a catalogue file for the host. When Check finds the file changed
// since last looked at, it reads it, replaces the content (attributes and
// children) of the configured catalogue node with the new one, and calls
// `changed` (the host tells the component, which rebuilds from that node). A
// file that does not read is reported to `err` and the last good catalogue
// stays. The host calls Check between requests, when no rebuild is asked for.
class CatalogWatch {
 public:
  CatalogWatch(std::string path, VXNodePtr catalog, std::function<void()> changed);

  // True when the catalogue was replaced.
  bool Check(std::ostream& err);

 private:
  std::filesystem::file_time_type Stamp() const;
  void Replace(const VXNodePtr& fresh) const;

  std::string path_;
  VXNodePtr catalog_;
  std::function<void()> changed_;
  std::filesystem::file_time_type seen_;
};
