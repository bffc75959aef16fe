#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"

namespace QueriesProcessing {

// The display texts of scope items, by item type: how a risk whose items are
// compared by their full display text names an item of the request.
//
// The process has one object (Instance), filled on its first use and never
// again: a change of the settings takes effect when the process restarts.
// Its rows come from two configuration nodes, in this order:
//   "\Config\scope_items_config"        of "Base.AppConfigStorage"
//   "\LumenboardUI\scope_items_config"  of "ConfigServer.Proxy"
// Each child of either is one row: its node value the item type, its
// attribute display_name the text; a child without display_name is no row,
// and the first row of a type counts. A node that is missing counts as one
// without children.
//
//   DisplayText(u"srv-01", u"Server") -> u"srv-01 (File server)"   a row "File server"
//   DisplayText(u"srv-01", u"Share")  -> u"srv-01"                 no row, or an empty text
//
// Thread-safety: Instance may be called from any thread; the first call
// fills the object while the others wait (a function-local static), and a
// fill that fails raises to its caller and leaves the next call to try
// again. The object is read-only afterwards.
class ScopeItemDisplayNames {
 public:
  // Raises HRX when a configuration component is missing or its search
  // fails.
  static const ScopeItemDisplayNames& Instance();

  // The rows of `sources`, in order; a null node has none.
  explicit ScopeItemDisplayNames(const std::vector<VXNodePtr>& sources);

  std::u16string DisplayText(std::u16string_view value, std::u16string_view type) const;

 private:
  struct TextHash {
    using is_transparent = void;
    size_t operator()(std::u16string_view text) const {
      return std::hash<std::u16string_view>()(text);
    }
  };

  std::unordered_map<std::u16string, std::u16string, TextHash, std::equal_to<>> names_;
};

}  // namespace QueriesProcessing
