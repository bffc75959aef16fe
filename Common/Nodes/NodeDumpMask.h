#pragma once

#include <string>
#include <string_view>
#include <vector>

// Which attribute values a node dump hides, and the text that stands in for
// them ("********"). An entry is "Attr" (on any node) or "Type.Attr" (on
// nodes of that type only); a list is written with "," or ";" between entries:
//   NodeDumpMask mask(u"Password; Credentials.Token");
// The default mask hides nothing.
class NodeDumpMask {
 public:
  static constexpr std::u16string_view kMaskText = u"********";

  NodeDumpMask() = default;
  explicit NodeDumpMask(std::u16string_view hiddenList);

  // The entries of the setting `HiddenNodeTypeAttrs` (section "Logger"), read
  // now, merged with `callerList`. Log dumps use this.
  static NodeDumpMask FromSettings(std::u16string_view callerList);

  // Adds the entries of another list.
  void Merge(std::u16string_view hiddenList);
  bool Empty() const { return entries_.empty(); }

  // True when the value of `attribute` on a node of type `type` (empty for
  // a node without type) is hidden.
  bool Hides(std::u16string_view type, std::u16string_view attribute) const;

 private:
  struct Entry {
    std::u16string type;  // empty: any node
    std::u16string attribute;
  };

  std::vector<Entry> entries_;
};
