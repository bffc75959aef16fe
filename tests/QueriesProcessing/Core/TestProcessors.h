#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/IVariableProcessor.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

namespace QueriesProcessing::Testing {

// Appends "[<CurrentCommand>:<per-use mark>]" to the text; a configuration
// attribute `fail` makes Initialize fail with that code, a per-use `fail`
// makes ProcessNode fail.
class MarkProcessor : public IVariableProcessor {
 public:
  HRESULT Initialize(const VXNodePtr& config) override {
    return static_cast<HRESULT>(config.GetUInt32(u"fail", 0));
  }
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr& variable, std::u16string& text) override {
    if (variable && variable.HasAttribute(u"fail")) return static_cast<HRESULT>(variable.GetUInt32(u"fail"));
    text += u"[" + request.GetString(u"CurrentCommand", u"?") + u":" +
            (variable ? variable.GetString(u"mark", u"") : std::u16string(u"-")) + u"]";
    ++calls;
    return S_OK;
  }
  int calls = 0;
};

// Replaces %ECHO% with the request's `Echo`.
class EchoProcessor : public IVariableProcessor {
 public:
  HRESULT ProcessNode(VXNodePtr& request, const VXNodePtr&, std::u16string& text) override {
    ReplaceAll(text, u"%ECHO%", request.GetString(u"Echo", u""));
    return S_OK;
  }
};

inline const std::vector<ProcessorTableRow>& TestTable() {
  static const std::vector<ProcessorTableRow> table = {
      {u"%MARK%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<MarkProcessor>()); }},
      {u"%ECHO%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<EchoProcessor>()); }},
      {u"%MARK2%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<MarkProcessor>()); }},
  };
  return table;
}

// A node with string attributes, built in one expression.
inline VXNodePtr Node(std::u16string_view type, std::u16string_view name,
                      std::initializer_list<std::pair<std::u16string_view, std::u16string_view>> attributes = {},
                      std::initializer_list<VXNodePtr> children = {}) {
  VXNodePtr node = VXNodePtr::Create(type, name);
  for (const auto& [key, value] : attributes) node.SetString(key, value);
  for (const auto& child : children) node.AddChild(child);
  return node;
}

inline HRESULT StatusOf(const std::function<void()>& body) {
  try {
    body();
    return S_OK;
  } catch (const HRX& failure) {
    return failure.code();
  }
}

}  // namespace QueriesProcessing::Testing
