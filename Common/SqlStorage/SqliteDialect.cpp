#include "Common/SqlStorage/SqliteDialect.h"

#include "Common/ErrorHandling.h"
#include "Common/Text.h"

namespace {

constexpr char16_t kNul = 0;

bool IsWordChar(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'_' || c == u'$' || c >= 0x80;
}

class Converter {
 public:
  explicit Converter(std::u16string_view in) : in_(in) { out_.reserve(in.size() + 16); }

  std::string Run() {
    while (pos_ < in_.size()) {
      switch (state_) {
        case State::kCode:
          Code();
          break;
        case State::kString:
          String();
          break;
        case State::kQuoted:
          Quoted();
          break;
        case State::kLineComment:
          LineComment();
          break;
        case State::kBlockComment:
          BlockComment();
          break;
      }
    }
    return std::move(out_);
  }

 private:
  enum class State { kCode, kString, kQuoted, kLineComment, kBlockComment };

  char16_t At(size_t pos) const { return pos < in_.size() ? in_[pos] : kNul; }

  void Code() {
    const char16_t c = in_[pos_];
    const char16_t next = At(pos_ + 1);
    if (c == kNul) Refuse(u"code");
    if ((c == u'N' || c == u'n') && next == u'\'' && (pos_ == 0 || !IsWordChar(in_[pos_ - 1]))) {
      ++pos_;  // the prefix goes; the literal follows
      return;
    }
    if (c == u'[') return Bracketed();
    if (c == u'-' && next == u'-') {
      state_ = State::kLineComment;
      return Take(2);
    }
    if (c == u'/' && next == u'*') {
      state_ = State::kBlockComment;
      return Take(2);
    }
    if (c == u'\'') state_ = State::kString;
    if (c == u'"' || c == u'`') {
      quote_ = c;
      state_ = State::kQuoted;
    }
    Take(1);
  }

  void String() {
    // Member names make up most of a large batch: copy plain runs at once.
    size_t run = pos_;
    while (run < in_.size() && in_[run] != u'\'' && in_[run] != kNul && in_[run] < 0x80) ++run;
    if (run != pos_) return TakeAscii(run);
    const char16_t c = in_[pos_];
    if (c == kNul) {
      out_ += "'||char(0)||'";
      ++pos_;
      return;
    }
    if (c == u'\'' && At(pos_ + 1) == u'\'') return Take(2);
    if (c == u'\'') state_ = State::kCode;
    Take(1);
  }

  void Quoted() {
    const char16_t c = in_[pos_];
    if (c == kNul) Refuse(u"a quoted name");
    if (c == quote_ && At(pos_ + 1) == quote_) return Take(2);
    if (c == quote_) state_ = State::kCode;
    Take(1);
  }

  void LineComment() {
    const char16_t c = in_[pos_];
    if (c == kNul) return Skip();
    if (c == u'\n') state_ = State::kCode;
    Take(1);
  }

  void BlockComment() {
    const char16_t c = in_[pos_];
    if (c == kNul) return Skip();
    if (c == u'*' && At(pos_ + 1) == u'/') {
      state_ = State::kCode;
      return Take(2);
    }
    Take(1);
  }

  // [name]: SQLite reads it as the server does, except for "]]" inside,
  // which it cannot express; such a name is written backquoted instead.
  void Bracketed() {
    size_t close = pos_ + 1;
    bool doubled = false;
    for (; close < in_.size(); ++close) {
      if (in_[close] == kNul) Refuse(u"a bracketed name");
      if (in_[close] != u']') continue;
      if (At(close + 1) != u']') break;
      doubled = true;
      ++close;
    }
    if (!doubled) return Take(close < in_.size() ? close + 1 - pos_ : in_.size() - pos_);
    out_ += '`';
    for (size_t i = pos_ + 1; i < close; ++i) {
      if (in_[i] == u'`') out_ += '`';
      if (in_[i] == u']') ++i;  // "]]" is one "]"
      i = AppendCodeUnit(i);
    }
    out_ += '`';
    pos_ = close + 1;
  }

  [[noreturn]] void Refuse(std::u16string_view where) const {
    ThrowError(E_INVALIDARG, u": a NUL character in " + std::u16string(where) +
                                 u" of the SQL text, at offset " + ToTextUnsigned(pos_));
  }

  void Skip() { ++pos_; }

  void TakeAscii(size_t end) {
    for (; pos_ < end; ++pos_) out_ += static_cast<char>(in_[pos_]);
  }

  // Copies `count` code units from the current position.
  void Take(size_t count) {
    const size_t end = pos_ + count;
    while (pos_ < end) pos_ = AppendCodeUnit(pos_) + 1;
  }

  // Appends the character at `i` as UTF-8; returns the index of its last
  // code unit (a surrogate pair takes two).
  size_t AppendCodeUnit(size_t i) {
    const char32_t c = in_[i];
    if (c < 0x80) {
      out_ += static_cast<char>(c);
      return i;
    }
    char32_t cp = c;
    if (c >= 0xD800 && c <= 0xDBFF && At(i + 1) >= 0xDC00 && At(i + 1) <= 0xDFFF) {
      cp = 0x10000 + ((c - 0xD800) << 10) + (in_[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      cp = 0xFFFD;
    }
    AppendUtf8(cp);
    return i;
  }

  void AppendUtf8(char32_t cp) {
    if (cp < 0x800) {
      out_ += static_cast<char>(0xC0 | cp >> 6);
    } else if (cp < 0x10000) {
      out_ += static_cast<char>(0xE0 | cp >> 12);
      out_ += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    } else {
      out_ += static_cast<char>(0xF0 | cp >> 18);
      out_ += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
      out_ += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    }
    out_ += static_cast<char>(0x80 | (cp & 0x3F));
  }

  std::u16string_view in_;
  std::string out_;
  size_t pos_ = 0;
  State state_ = State::kCode;
  char16_t quote_ = 0;
};

}  // namespace

std::string ToSqliteText(std::u16string_view batch) { return Converter(batch).Run(); }
