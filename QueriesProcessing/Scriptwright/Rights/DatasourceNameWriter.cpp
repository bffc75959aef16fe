#include "QueriesProcessing/Scriptwright/Rights/DatasourceNameWriter.h"

#include <algorithm>

#include "Common/ErrorHandling.h"
#include "Common/Logger.h"
#include "Common/TextGrowthGuard.h"

namespace QueriesProcessing {

namespace {

using namespace std::string_view_literals;

constexpr std::u16string_view kFrom = u"FROM ["sv;
constexpr size_t npos = std::u16string::npos;
constexpr size_t kExcerpt = 256;

[[noreturn]] void FailName(std::u16string_view what) {
  ThrowError(E_INVALIDARG, u": " + std::u16string(what));
}

}  // namespace

DatasourceNameWriter::DatasourceNameWriter(std::u16string_view datasource)
    : datasource_(datasource), reversedDatasource_(datasource.rbegin(), datasource.rend()) {}

void DatasourceNameWriter::Rewrite(std::u16string& text) {
  const TextGrowthGuard guard(text.size());
  done_.clear();
  done_.reserve(text.size());
  rest_.assign(text.rbegin(), text.rend());
  froms_.clear();
  unscanned_ = 0;
  for (size_t found; (found = FindDatasource()) != npos;) {
    Advance(found);
    const size_t at = done_.size();
    size_t from = LastFromAtOrBefore(at);
    if (from != npos) from = FromBefore(from);
    if (from == npos) FailName(u"Couldn't find db name");
    from += kFrom.size() - 1;
    const size_t firstDot = FindDot(from);
    // These guard the dot searches but test the bracket's place, which is
    // always found: a name with fewer than two dots gets through, and the
    // text behind it becomes the name (see the header).
    if (from == npos) FailName(u"Invalid db name");
    // One past "no dot" wraps to the start of the text.
    const size_t secondDot = FindDot(firstDot + 1);
    if (from == npos) FailName(u"Invalid db name");
    const std::u16string name =
        Slice(from, secondDot == npos || secondDot < from ? Length() : secondDot);
    VX_LOG(Severity::DBG2, u"Replace:" << Excerpt(at));
    ReplaceAtFront(name);
    VX_LOG(Severity::DBG2, u"Replaced:" << Excerpt(at));
    guard.Check(Length(), u"replacing '" + datasource_ + u"'");
  }
  done_.append(rest_.rbegin(), rest_.rend());
  text.swap(done_);
}

char16_t DatasourceNameWriter::At(size_t index) const {
  return index < done_.size() ? done_[index] : rest_[rest_.size() - 1 - (index - done_.size())];
}

// The offset in the rest of the first occurrence, or npos. The last match
// in the reversed rest is the first in the text.
size_t DatasourceNameWriter::FindDatasource() const {
  const size_t found = rest_.rfind(reversedDatasource_);
  return found == npos ? npos : rest_.size() - found - datasource_.size();
}

// Moves the first `count` units of the rest behind the done text, and lists
// the "FROM [" that now lie wholly in it.
void DatasourceNameWriter::Advance(size_t count) {
  done_.append(rest_.rbegin(), rest_.rbegin() + static_cast<std::ptrdiff_t>(count));
  rest_.resize(rest_.size() - count);
  for (size_t found; (found = done_.find(kFrom, unscanned_)) != npos;) {
    froms_.push_back(found);
    unscanned_ = found + kFrom.size();
  }
  // A "FROM [" may still end in the rest: its start is one of the last
  // five units.
  if (done_.size() >= kFrom.size()) {
    unscanned_ = std::max(unscanned_, done_.size() - (kFrom.size() - 1));
  }
}

bool DatasourceNameWriter::FromAt(size_t position) const {
  if (position + kFrom.size() > Length()) return false;
  for (size_t i = 0; i < kFrom.size(); ++i) {
    if (At(position + i) != kFrom[i]) return false;
  }
  return true;
}

// The start of the last "FROM [" that starts at or before `position` (the end
// of the done text), or npos. One that starts there but ends in the rest is
// not listed yet.
size_t DatasourceNameWriter::LastFromAtOrBefore(size_t position) const {
  const size_t lowest = position >= kFrom.size() - 1 ? position - (kFrom.size() - 1) : 0;
  for (size_t start = position + 1; start-- > lowest;) {
    if (FromAt(start)) return start;
  }
  return froms_.empty() ? npos : froms_.back();
}

// The start of the last "FROM [" that starts before `position`, or npos. Two
// of them cannot overlap, so it lies wholly before `position` and is listed.
size_t DatasourceNameWriter::FromBefore(size_t position) const {
  const auto after = std::lower_bound(froms_.begin(), froms_.end(), position);
  return after == froms_.begin() ? npos : *(after - 1);
}

size_t DatasourceNameWriter::FindDot(size_t from) const {
  if (from < done_.size()) {
    const size_t found = done_.find(u'.', from);
    if (found != npos) return found;
    from = done_.size();
  }
  const size_t offset = from - done_.size();
  if (offset >= rest_.size()) return npos;
  const size_t found = rest_.rfind(u'.', rest_.size() - 1 - offset);
  return found == npos ? npos : done_.size() + (rest_.size() - 1 - found);
}

std::u16string DatasourceNameWriter::Slice(size_t begin, size_t end) const {
  std::u16string slice;
  slice.reserve(end - begin);
  if (begin < done_.size()) slice.append(done_, begin, std::min(end, done_.size()) - begin);
  if (end > done_.size()) {
    const size_t first = std::max(begin, done_.size()) - done_.size();
    slice.append(rest_.rbegin() + static_cast<std::ptrdiff_t>(first),
                 rest_.rbegin() + static_cast<std::ptrdiff_t>(end - done_.size()));
  }
  return slice;
}

std::u16string DatasourceNameWriter::Excerpt(size_t from) const {
  const size_t end = std::min(Length(), from + kExcerpt);
  std::u16string excerpt = Slice(from, end);
  if (end < Length()) excerpt += u"...";
  return excerpt;
}

// Replaces the occurrence at the front of the rest by `name`.
void DatasourceNameWriter::ReplaceAtFront(const std::u16string& name) {
  rest_.resize(rest_.size() - datasource_.size());
  rest_.append(name.rbegin(), name.rend());
}

}  // namespace QueriesProcessing
