#include "Common/ConfigPath.h"

VXNodePtr NodeAtPath(VXNodePtr at, std::u16string_view path) {
  for (size_t start = 0; at && start < path.size();) {
    size_t end = path.find(u'\\', start);
    if (end == std::u16string_view::npos) end = path.size();
    if (end > start) at = at.GetChild(path.substr(start, end - start));
    start = end + 1;
  }
  return at;
}
