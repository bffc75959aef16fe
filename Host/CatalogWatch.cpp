#include "Host/CatalogWatch.h"

#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/FormatString.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Text.h"

CatalogWatch::CatalogWatch(std::string path, VXNodePtr catalog, std::function<void()> changed)
    : path_(std::move(path)), catalog_(std::move(catalog)), changed_(std::move(changed)), seen_(Stamp()) {}

std::filesystem::file_time_type CatalogWatch::Stamp() const {
  std::error_code ignored;
  return std::filesystem::last_write_time(path_, ignored);
}

bool CatalogWatch::Check(std::ostream& err) {
  const auto stamp = Stamp();
  if (stamp == seen_) return false;
  seen_ = stamp;
  std::vector<VXNodePtr> fresh;
  try {
    fresh = ReadNodeTextFile(path_);
  } catch (const HRX& failure) {
    err << path_ << ": " << ToUtf8(FormatStatus(failure, kOmitLocation)) << " (the catalogue in use stays)\n";
    return false;
  }
  if (fresh.empty()) return false;
  Replace(fresh.front());
  changed_();
  return true;
}

void CatalogWatch::Replace(const VXNodePtr& fresh) const {
  for (const auto& name : catalog_.AttributeNames()) catalog_.DeleteAttribute(name);
  while (catalog_.ChildCount()) catalog_.RemoveChild(catalog_.ChildAt(0));
  for (const auto& name : fresh.AttributeNames()) {
    uint32_t type = 0;
    const std::vector<uint8_t> data = fresh.GetRaw(name, type);
    catalog_.SetAttribute(name, type, data.empty() ? nullptr : data.data(), static_cast<uint32_t>(data.size()));
  }
  while (fresh.ChildCount()) catalog_.AddChild(fresh.ChildAt(0));  // moves them
}
