#pragma once

#include <string>
#include <unordered_map>

#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"

namespace QueriesProcessing {

// %UID%: writes identifiers of the request as bare hex digits, fit to be part
// of an SQL name.
//
// Configuration: the required child `ReplacedEntries`, whose `ReplacedEntry`
// children each map a request attribute `IdAttributeName` to a text token
// `ReplacedVariable` (a repeated name keeps its first token). For each entry
// the attribute's value loses every "-", "{" and "}" and replaces the token;
// a request without the attribute leaves the token in the text.
//   {0DD265D7-9C92-4FC0-9CBE-32D691746561} -> 0DD265D79C924FC09CBE32D691746561
class CUIDProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override;
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override;

 private:
  std::unordered_map<std::u16string, std::u16string> entries_;
};

}  // namespace QueriesProcessing
