#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

// printf-style formatting over UTF-16, for the system's fixed message and
// log formats. Arguments are typed, so a mismatch cannot read garbage.
//
// Supported: flags "-0+ #", width and precision as numbers or "*", the length
// modifiers h, l, ll, z and I64, and the conversions d i u x X o c s S p %.
// As with printf, d and i print the low 32 bits of the argument unless a
// 64-bit modifier is given, and u, x, X and o print it as unsigned. p prints
// an address as 16 upper-case hex digits, behind "0x" with the flag "#".
// s and S take UTF-16 or UTF-8 text.
//
//   FormatString(u"0x%08X %s", 0x80070057u, u"text")  ->  u"0x80070057 text"
//
// Widths and precisions are limited to kMaxFormatWidth (4096), since formats
// may come from configuration (a catalogue's templates):
//  - a written width or precision above 4096 fails the format;
//  - a "*" width takes an argument from -4096 to 4096; a negative one means
//    left-justified in a field of its magnitude, as in printf;
//  - a "*" precision takes an argument from -4096 to 4096; a negative one
//    counts as no precision, as in printf;
//  - a "*" argument outside that range, or one that is not a number, fails
//    the format.
// The failure raises HRX 0x80070057 with a text that quotes the directive.
// A "*" without an argument counts as 0. Any other malformed directive is
// copied to the output as it stands.
inline constexpr int kMaxFormatWidth = 4096;

class FormatArg {
 public:
  enum class Kind { Signed, Unsigned, Pointer, Text16, Text8 };

  template <std::signed_integral T>
  FormatArg(T v) : kind_(Kind::Signed), int_(static_cast<int64_t>(v)) {}
  template <std::unsigned_integral T>
  requires(!std::same_as<T, bool> && !std::same_as<T, char16_t>) FormatArg(T v)
      : kind_(Kind::Unsigned), uint_(static_cast<uint64_t>(v)) {}
  FormatArg(bool v) : kind_(Kind::Signed), int_(v ? 1 : 0) {}
  FormatArg(char16_t v) : kind_(Kind::Unsigned), uint_(v) {}
  FormatArg(const void* v) : kind_(Kind::Pointer), ptr_(v) {}
  FormatArg(const char16_t* v) : kind_(Kind::Text16), text16_(v ? v : u"(null)") {}
  FormatArg(const std::u16string& v) : kind_(Kind::Text16), text16_(v) {}
  FormatArg(std::u16string_view v) : kind_(Kind::Text16), text16_(v) {}
  FormatArg(const char* v) : kind_(Kind::Text8), text8_(v ? v : "(null)") {}
  FormatArg(const std::string& v) : kind_(Kind::Text8), text8_(v) {}
  FormatArg(std::string_view v) : kind_(Kind::Text8), text8_(v) {}

  Kind kind() const { return kind_; }
  int64_t AsSigned() const;
  uint64_t AsUnsigned() const;
  std::u16string AsText() const;

 private:
  Kind kind_;
  union {
    int64_t int_;
    uint64_t uint_;
    const void* ptr_;
  };
  std::u16string_view text16_;
  std::string_view text8_;
};

std::u16string FormatStringV(std::u16string_view format, std::initializer_list<FormatArg> args);

template <typename... Args>
std::u16string FormatString(std::u16string_view format, const Args&... args) {
  return FormatStringV(format, {FormatArg(args)...});
}
