#include "Host/CatalogWatch.h"

#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Host/LibraryDiagnostics.h"

CatalogWatch::CatalogWatch(std::string path) : path_(std::move(path)), seen_(Look()) {}

CatalogWatch::Stamp CatalogWatch::Look() const {
  std::error_code ignored;
  Stamp stamp;
  stamp.time = std::filesystem::last_write_time(path_, ignored);
  // A file rewritten within one tick of the file system's clock keeps its
  // time; its size tells most such changes apart.
  stamp.size = std::filesystem::file_size(path_, ignored);
  return stamp;
}

VXNodePtr CatalogWatch::Changed(std::ostream& err) {
  const Stamp stamp = Look();
  if (stamp == seen_) return VXNodePtr();
  seen_ = stamp;
  std::vector<VXNodePtr> fresh;
  try {
    fresh = ReadNodeTextFile(path_);
  } catch (const HRX& failure) {
    const HRESULT code = failure.Report();
    const auto info = GetErrorInfo();
    err << path_ << ": " << FormatFailure(code, info.get()) << " (the catalogue in use stays)\n";
    return VXNodePtr();
  }
  if (fresh.empty()) {
    err << path_ << ": the file holds no catalogue node (the catalogue in use stays)\n";
    return VXNodePtr();
  }
  return fresh.front();
}
