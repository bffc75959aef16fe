#include "QueriesProcessing/Scriptwright/Values/SimpleParametersProcessor.h"

#include "Common/LogScope.h"
#include "Common/OperationFrame.h"
#include "Common/Text.h"
#include "Common/TextGrowthGuard.h"

namespace QueriesProcessing {

namespace {

constexpr size_t kMaxReplacements = 10000;

std::u16string ParameterValue(const VXNodePtr& request, const VXNodePtr& variable,
                              const std::u16string& name) {
  std::u16string value;
  if (request.TryGetString(name, value)) return value;
  if (variable && variable.TryGetString(name, value)) return value;
  ThrowError(E_INVALIDARG, u": no value for the parameter '" + name + u"'");
}

// One text's parameters, replaced in order, each value scanned again.
// Everything before a match is final and moves to `done_` once; the rest of
// the text waits in `pending_` from `cursor_` on. A value goes into the
// consumed room just before the rest when it fits; otherwise `pending_` is
// rebuilt with as much room again in front. So the work stays linear in the
// text produced, where replacing inside one string would move the whole tail
// for every parameter.
class ParameterExpansion {
 public:
  ParameterExpansion(std::u16string_view flag, std::u16string text)
      : flag_(flag), pending_(std::move(text)) {
    done_.reserve(pending_.size());
  }

  // Finds the next pair of delimiters; false when there is none.
  bool Next(std::u16string& name) {
    start_ = pending_.find(flag_, cursor_);
    if (start_ == std::u16string::npos) return false;
    end_ = pending_.find(flag_, start_ + flag_.size());
    if (end_ == std::u16string::npos) return false;
    name.assign(pending_, start_ + flag_.size(), end_ - start_ - flag_.size());
    return true;
  }

  // Replaces the pair found by Next, delimiters included, with `value`.
  void Replace(std::u16string_view value) {
    done_.append(pending_, cursor_, start_ - cursor_);
    const size_t rest = end_ + flag_.size();
    if (value.size() <= rest) {
      cursor_ = rest - value.size();
      value.copy(pending_.data() + cursor_, value.size());
      return;
    }
    const size_t room = value.size() + (pending_.size() - rest);
    std::u16string rebuilt;
    rebuilt.reserve(room + value.size() + pending_.size() - rest);
    rebuilt.append(room, u'\0').append(value).append(pending_, rest);
    pending_ = std::move(rebuilt);
    cursor_ = room;
  }

  size_t size() const { return done_.size() + pending_.size() - cursor_; }

  std::u16string Take() {
    done_.append(pending_, cursor_);
    return std::move(done_);
  }

 private:
  std::u16string_view flag_;
  std::u16string done_;
  std::u16string pending_;
  size_t cursor_ = 0;
  size_t start_ = 0;
  size_t end_ = 0;
};

void Expand(ParameterExpansion& expansion, const VXNodePtr& request, const VXNodePtr& variable) {
  const TextGrowthGuard guard(expansion.size());
  size_t replacements = 0;
  std::u16string name;
  while (expansion.Next(name)) {
    VX_LOG(Severity::DBG, u"Variable:" << name);
    std::u16string value = ParameterValue(request, variable, name);
    ReplaceAll(value, u"'", u"''");
    VX_LOG(Severity::DBG, u"Value:" << value);
    if (++replacements > kMaxReplacements) {
      ThrowError(E_INVALIDARG,
                 u": parameter values keep expanding into parameters ('" + name + u"')");
    }
    expansion.Replace(value);
    guard.Check(expansion.size(), u"parameter '" + name + u"'");
  }
}

}  // namespace

HRESULT CSimpleParametersProcessor::Initialize(const VXNodePtr& config) {
  VX_LOG_SCOPE(Severity::DBG, "CSimpleParametersProcessor::Initialize");
  return OperationFrame("CSimpleParametersProcessor::Initialize", [&] {
    flag_ = config.GetString(u"flag");
    if (flag_.empty()) ThrowError(E_INVALIDARG, u": the parameter delimiter 'flag' is empty");
  });
}

HRESULT CSimpleParametersProcessor::ProcessNode(VXNodePtr& request, const VXNodePtr& variable,
                                                std::u16string& text) {
  VX_LOG_SCOPE(Severity::DBG, "CSimpleParametersProcessor::ProcessNode");
  return OperationFrame("CSimpleParametersProcessor::ProcessNode", [&] {
    VX_LOG(Severity::DBG, u"Original:" << text);
    ParameterExpansion expansion(flag_, std::move(text));
    try {
      Expand(expansion, request, variable);
    } catch (...) {
      text = expansion.Take();  // a failure leaves the text half replaced
      throw;
    }
    text = expansion.Take();
    VX_LOG(Severity::DBG, u"Final:" << text);
  });
}

}  // namespace QueriesProcessing
