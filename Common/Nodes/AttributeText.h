#pragma once

#include <string>
#include <string_view>
#include <utility>

// The text of an attribute read as a string, copied only when it must be:
//   - a view of the stored value when the attribute is a string: valid while
//     the node's attributes are unchanged and the node lives;
//   - the text converted from another type (a number, a GUID, ...), held by
//     this object;
//   - a caller's default, as a view of the caller's text.
// Keep the object for as long as its view is used: a view taken from a
// temporary AttributeText may dangle.
class AttributeText {
 public:
  AttributeText() = default;
  explicit AttributeText(std::u16string_view view) : view_(view) {}
  explicit AttributeText(std::u16string owned) : owned_(std::move(owned)), isOwned_(true) {}

  std::u16string_view view() const { return isOwned_ ? std::u16string_view(owned_) : view_; }
  operator std::u16string_view() const { return view(); }  // NOLINT: reads as the text
  std::u16string str() const { return std::u16string(view()); }
  bool empty() const { return view().empty(); }
  size_t size() const { return view().size(); }

  friend bool operator==(const AttributeText& text, std::u16string_view other) {
    return text.view() == other;
  }

 private:
  std::u16string_view view_;
  std::u16string owned_;
  bool isOwned_ = false;
};
