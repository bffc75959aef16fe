#include "Common/Nodes/NodeDumpMask.h"

#include "Common/Helpers/SettingsSources.h"

namespace {

std::u16string_view Trim(std::u16string_view text) {
  const size_t begin = text.find_first_not_of(u" \t");
  if (begin == std::u16string_view::npos) return {};
  const size_t end = text.find_last_not_of(u" \t");
  return text.substr(begin, end - begin + 1);
}

}  // namespace

NodeDumpMask::NodeDumpMask(std::u16string_view hiddenList) { Merge(hiddenList); }

NodeDumpMask NodeDumpMask::FromSettings(std::u16string_view callerList) {
  NodeDumpMask mask(ReadSettingOrDefault(u"Logger", u"HiddenNodeTypeAttrs", u""));
  mask.Merge(callerList);
  return mask;
}

void NodeDumpMask::Merge(std::u16string_view hiddenList) {
  while (!hiddenList.empty()) {
    const size_t end = hiddenList.find_first_of(u",;");
    const std::u16string_view entry = Trim(hiddenList.substr(0, end));
    hiddenList =
        end == std::u16string_view::npos ? std::u16string_view() : hiddenList.substr(end + 1);
    if (entry.empty()) continue;
    const size_t dot = entry.find(u'.');
    if (dot == std::u16string_view::npos) {
      entries_.push_back({u"", std::u16string(entry)});
    } else {
      entries_.push_back(
          {std::u16string(entry.substr(0, dot)), std::u16string(entry.substr(dot + 1))});
    }
  }
}

bool NodeDumpMask::Hides(std::u16string_view type, std::u16string_view attribute) const {
  for (const auto& entry : entries_) {
    if (entry.attribute == attribute && (entry.type.empty() || entry.type == type)) return true;
  }
  return false;
}
