#include "QueriesProcessing/Scriptwright/Core/SQLCommand.h"

#include "Common/LogScope.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"

namespace QueriesProcessing {

namespace {

constexpr std::u16string_view kCurrentCommand = u"CurrentCommand";
constexpr size_t kGrowthRoom = 256;

}  // namespace

CSQLCommand::CSQLCommand(const VXNodePtr& node) {
  const uint32_t count = node.ChildCount();
  for (uint32_t i = 0; i < count; ++i) {
    VXNodePtr child = node.ChildAt(i);
    if (child.GetType() == u"sql_command_part") parts_.push_back(std::make_shared<CSQLCommand>(child));
  }
  if (parts_.empty()) {
    text_ = CleanCommandText(node.GetString(u"command"));
    ReadProcessors(node);
  }
  noResult_ = node.GetBool(u"no_result", true);
  isFinal_ = node.GetBool(u"final", false);
  multipleDataset_ = node.GetBool(u"multiple_dataset", false);
  alwaysExecute_ = node.GetBool(u"always_execute", false);
  name_ = node.GetName();
}

void CSQLCommand::ReadProcessors(const VXNodePtr& node) {
  if (VXNodePtr list = node.GetChild(u"variable_processors")) {
    list.ForEachChild([&](const VXNodePtr& child) {
      if (child.GetType() == u"variable_processor") processors_.push_back({child.GetString(u"processor_alias"), child});
    });
    return;
  }
  for (auto& alias : node.GetStringList(u"variables", false)) processors_.push_back({std::move(alias), VXNodePtr()});
}

std::u16string CSQLCommand::GenerateText(VXNodePtr& request) const {
  if (parts_.empty()) return GenerateOwnText(request);
  std::u16string text;
  for (const auto& part : parts_) text += part->GenerateText(request);
  return text;
}

std::u16string CSQLCommand::GenerateOwnText(VXNodePtr& request) const {
  VX_LOG_SCOPE(Severity::DBG2, "CSQLCommand::GenerateText");
  std::u16string previous = request.GetString(kCurrentCommand, u"");
  request.SetString(kCurrentCommand, name_);
  std::u16string text = WorkingText();
  auto& manager = CProcessorsManager::Instance();
  for (const auto& entry : processors_) {
    manager.ProcessVariable(request, entry.node, entry.alias, text);
    VX_LOG(Severity::DBG, u"***********Processor:" << entry.alias << u" Result:" << text);
  }
  request.TakeString(kCurrentCommand, std::move(previous));
  return text;
}

std::u16string CSQLCommand::WorkingText() const {
  constexpr std::u16string_view kOpen = u"\n/***\n", kClose = u"\n***/\n";
  const size_t size = kOpen.size() + name_.size() + kClose.size() + text_.size();
  // Processors mostly make the text longer; room for half as much again
  // spares most of the reallocations on the way.
  std::u16string text;
  text.reserve(size + size / 2 + kGrowthRoom);
  text.append(kOpen).append(name_).append(kClose).append(text_);
  return text;
}

}  // namespace QueriesProcessing
