#pragma once

#include <memory>
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
// temporary AttributeText may dangle. Cheap to make, move and drop when it
// holds no converted text, which is the usual case.
class AttributeText {
 public:
  AttributeText() = default;
  explicit AttributeText(std::u16string_view view) : view_(view) {}
  explicit AttributeText(std::u16string owned)
      : owned_(std::make_unique<const std::u16string>(std::move(owned))), view_(*owned_) {}

  std::u16string_view view() const { return view_; }
  operator std::u16string_view() const { return view_; }  // NOLINT: reads as the text
  std::u16string str() const { return std::u16string(view_); }
  bool empty() const { return view_.empty(); }
  size_t size() const { return view_.size(); }

  friend bool operator==(const AttributeText& text, std::u16string_view other) {
    return text.view_ == other;
  }

 private:
  // The converted text, on the heap so that the view into it survives a move.
  std::unique_ptr<const std::u16string> owned_;
  std::u16string_view view_;
};
