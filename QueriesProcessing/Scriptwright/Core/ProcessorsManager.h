#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorTable.h"

namespace QueriesProcessing {

// The registry of variable processors: one object per token that the
// catalogue configures, dispatched by token.
//
// Initialize walks the token table in order; a token whose configuration
// child (found by node name) is missing gets no processor. ProcessVariable
// runs exactly the processor named; it never scans the text.
//
// Tokens are looked up as views: a call builds no key string.
//
// No lock of its own: both operations run under the engine's lock.
class CProcessorsManager {
 public:
  // The process-wide instance, made on first use, never destroyed.
  static CProcessorsManager& Instance();

  // Drops every processor and makes one for each configured token. Raises
  // HRX with a processor's failing Initialize code; the processors made up
  // to that point stay registered.
  void Initialize(const VXNodePtr& config);
  // The same over another table; tests register processors of their own.
  void Initialize(const VXNodePtr& config, const std::vector<ProcessorTableRow>& table);

  // Runs the processor of `alias` on `text`. Raises HRX 0x80070057 for an
  // alias that has no processor, or with the processor's failing code.
  void ProcessVariable(VXNodePtr& request, const VXNodePtr& variable, std::u16string_view alias,
                       std::u16string& text);

  // The processor registered for `alias`, or null.
  std::shared_ptr<IVariableProcessor> Find(std::u16string_view alias) const;

 private:
  CProcessorsManager() = default;

  struct TokenHash {
    using is_transparent = void;
    size_t operator()(std::u16string_view token) const {
      return std::hash<std::u16string_view>()(token);
    }
  };

  std::unordered_map<std::u16string, std::shared_ptr<IVariableProcessor>, TokenHash,
                     std::equal_to<>>
      processors_;
};

}  // namespace QueriesProcessing
