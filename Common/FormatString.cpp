#include "Common/FormatString.h"

#include <algorithm>

#include "Common/ErrorHandling.h"
#include "Common/Text.h"

namespace {

struct Directive {
  bool left = false;
  bool zero = false;
  bool plus = false;
  bool space = false;
  bool alternate = false;
  int width = 0;
  int precision = -1;
  bool wide = false;  // a 64-bit length modifier
  char16_t letter = 0;
};

class Formatter {
 public:
  Formatter(std::u16string_view format, std::initializer_list<FormatArg> args)
      : format_(format), next_(args.begin()), end_(args.end()) {
    out_.reserve(format.size() + 16 * args.size());
  }

  std::u16string Run() {
    size_t pos = 0;
    while (pos < format_.size()) {
      const size_t percent = format_.find(u'%', pos);
      out_.append(format_.substr(pos, percent - pos));
      if (percent == std::u16string_view::npos) break;
      pos = FormatDirective(percent);
    }
    return std::move(out_);
  }

 private:
  // Formats the directive at `start` and returns the position behind it.
  size_t FormatDirective(size_t start) {
    size_t pos = start + 1;
    Directive directive;
    if (!ParseDirective(pos, directive)) {
      out_.append(format_.substr(start, pos - start));
      return pos;
    }
    Emit(directive);
    return pos;
  }

  bool ParseDirective(size_t& pos, Directive& directive) {
    const size_t start = pos - 1;
    for (; pos < format_.size(); ++pos) {
      const char16_t c = format_[pos];
      if (c == u'-')
        directive.left = true;
      else if (c == u'0')
        directive.zero = true;
      else if (c == u'+')
        directive.plus = true;
      else if (c == u' ')
        directive.space = true;
      else if (c == u'#')
        directive.alternate = true;
      else
        break;
    }
    if (Star(pos)) {
      const int width = StarArgument(start, pos);
      if (width < 0) directive.left = true;
      directive.width = width < 0 ? -width : width;
    } else {
      directive.width = ReadDigits(start, pos);
    }
    if (pos < format_.size() && format_[pos] == u'.') {
      ++pos;
      directive.precision = Star(pos) ? StarArgument(start, pos) : ReadDigits(start, pos);
      if (directive.precision < 0) directive.precision = -1;
    }
    ReadLength(pos, directive);
    if (pos >= format_.size()) return false;
    directive.letter = format_[pos++];
    return true;
  }

  bool Star(size_t& pos) const {
    if (pos >= format_.size() || format_[pos] != u'*') return false;
    ++pos;
    return true;
  }

  bool IsDigit(size_t pos) const {
    return pos < format_.size() && format_[pos] >= u'0' && format_[pos] <= u'9';
  }

  // A written width or precision. The check inside the loop keeps the
  // arithmetic far from overflow however many digits follow.
  int ReadDigits(size_t start, size_t& pos) const {
    int value = 0;
    for (; IsDigit(pos); ++pos) {
      value = value * 10 + (format_[pos] - u'0');
      if (value > kMaxFormatWidth) {
        while (IsDigit(pos)) ++pos;
        Refuse(start, pos);
      }
    }
    return value;
  }

  // The argument of a "*", from -kMaxFormatWidth to kMaxFormatWidth.
  int StarArgument(size_t start, size_t pos) {
    const FormatArg* arg = NextArg();
    if (!arg) return 0;
    const bool inRange =
        arg->kind() == FormatArg::Kind::Signed
            ? arg->AsSigned() >= -kMaxFormatWidth && arg->AsSigned() <= kMaxFormatWidth
            : arg->kind() == FormatArg::Kind::Unsigned && arg->AsUnsigned() <= kMaxFormatWidth;
    if (!inRange) Refuse(start, pos);
    return static_cast<int>(arg->AsSigned());
  }

  [[noreturn]] void Refuse(size_t start, size_t end) const {
    constexpr size_t kShown = 40;
    end =
        std::min(format_.find_first_not_of(u"0123456789.*-+ #hlzjwI", end), format_.size() - 1) + 1;
    std::u16string directive(format_.substr(start, std::min(end - start, kShown)));
    if (end - start > kShown) directive += u"...";
    ThrowError(E_INVALIDARG, u": a width or precision beyond " + ToText(kMaxFormatWidth) +
                                 u" in the format directive '" + directive + u"'");
  }

  void ReadLength(size_t& pos, Directive& directive) {
    const auto rest = format_.substr(pos);
    if (rest.starts_with(u"I64")) {
      directive.wide = true, pos += 3;
    } else if (rest.starts_with(u"ll")) {
      directive.wide = true, pos += 2;
    } else if (rest.starts_with(u"z") || rest.starts_with(u"j")) {
      directive.wide = true, pos += 1;
    } else if (rest.starts_with(u"h") || rest.starts_with(u"l") || rest.starts_with(u"w")) {
      pos += rest.starts_with(u"hh") ? 2 : 1;
    }
  }

  const FormatArg* NextArg() {
    if (next_ == end_) return nullptr;
    return next_++;
  }

  void Emit(const Directive& directive) {
    switch (directive.letter) {
      case u'%':
        out_ += u'%';
        return;
      case u'd':
      case u'i':
        return Signed(directive);
      case u'u':
        return Digits(directive, Unsigned(directive), 10, false, u"");
      case u'x':
        return Digits(directive, Unsigned(directive), 16, false, directive.alternate ? u"0x" : u"");
      case u'X':
        return Digits(directive, Unsigned(directive), 16, true, directive.alternate ? u"0X" : u"");
      case u'o':
        return Digits(directive, Unsigned(directive), 8, false, u"");
      case u'p':
        return Pointer(directive);
      case u'c':
        return Character(directive);
      case u's':
      case u'S':
        return Text(directive);
      default:
        out_ += u'%';
        out_ += directive.letter;
        return;
    }
  }

  uint64_t Unsigned(const Directive& directive) {
    const FormatArg* arg = NextArg();
    const uint64_t value = arg ? arg->AsUnsigned() : 0;
    return directive.wide ? value : static_cast<uint32_t>(value);
  }

  void Signed(const Directive& directive) {
    const FormatArg* arg = NextArg();
    int64_t value = arg ? arg->AsSigned() : 0;
    if (!directive.wide) value = static_cast<int32_t>(value);
    const uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : value;
    const char16_t* sign = value < 0 ? u"-" : directive.plus ? u"+" : directive.space ? u" " : u"";
    Digits(directive, magnitude, 10, false, sign);
  }

  void Pointer(const Directive& directive) {
    const FormatArg* arg = NextArg();
    Directive fixed = directive;
    fixed.precision = 16;
    Digits(fixed, arg ? arg->AsUnsigned() : 0, 16, true, directive.alternate ? u"0x" : u"");
  }

  void Character(const Directive& directive) {
    const FormatArg* arg = NextArg();
    const std::u16string text(1, static_cast<char16_t>(arg ? arg->AsUnsigned() : 0));
    Pad(directive, u"", text, false);
  }

  void Text(const Directive& directive) {
    const FormatArg* arg = NextArg();
    std::u16string text = arg ? arg->AsText() : std::u16string(u"(null)");
    if (directive.precision >= 0 && static_cast<size_t>(directive.precision) < text.size()) {
      text.resize(directive.precision);
    }
    Pad(directive, u"", text, false);
  }

  void Digits(const Directive& directive, uint64_t value, unsigned base, bool upper,
              std::u16string_view prefix) {
    const char16_t* digits = upper ? u"0123456789ABCDEF" : u"0123456789abcdef";
    char16_t buffer[64];
    int n = 0;
    do {
      buffer[n++] = digits[value % base];
      value /= base;
    } while (value != 0);
    std::u16string body;
    const int precision = directive.precision < 0 ? 1 : directive.precision;
    if (precision == 0 && n == 1 && buffer[0] == u'0') n = 0;
    body.append(n < precision ? precision - n : 0, u'0');
    while (n > 0) body += buffer[--n];
    Pad(directive, prefix, body, directive.zero && directive.precision < 0);
  }

  void Pad(const Directive& directive, std::u16string_view prefix, std::u16string_view body,
           bool zeroes) {
    const size_t length = prefix.size() + body.size();
    const size_t fill =
        static_cast<size_t>(directive.width) > length ? directive.width - length : 0;
    if (directive.left) {
      out_.append(prefix).append(body).append(fill, u' ');
    } else if (zeroes) {
      out_.append(prefix).append(fill, u'0').append(body);
    } else {
      out_.append(fill, u' ').append(prefix).append(body);
    }
  }

  std::u16string_view format_;
  const FormatArg* next_;
  const FormatArg* end_;
  std::u16string out_;
};

}  // namespace

int64_t FormatArg::AsSigned() const {
  switch (kind_) {
    case Kind::Signed:
      return int_;
    case Kind::Unsigned:
      return static_cast<int64_t>(uint_);
    case Kind::Pointer:
      return static_cast<int64_t>(reinterpret_cast<uintptr_t>(ptr_));
    default:
      return 0;
  }
}

uint64_t FormatArg::AsUnsigned() const {
  switch (kind_) {
    case Kind::Signed:
      return static_cast<uint64_t>(int_);
    case Kind::Unsigned:
      return uint_;
    case Kind::Pointer:
      return reinterpret_cast<uintptr_t>(ptr_);
    default:
      return 0;
  }
}

std::u16string FormatArg::AsText() const {
  switch (kind_) {
    case Kind::Text16:
      return std::u16string(text16_);
    case Kind::Text8:
      return ToUtf16(text8_);
    case Kind::Signed:
      return ToText(int_);
    default:
      return ToTextUnsigned(AsUnsigned());
  }
}

std::u16string FormatStringV(std::u16string_view format, std::initializer_list<FormatArg> args) {
  return Formatter(format, args).Run();
}
