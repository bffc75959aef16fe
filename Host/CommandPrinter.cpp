#include "Host/CommandPrinter.h"

#include <vector>

#include "Common/Text.h"

namespace {

constexpr const char16_t* kFlags[] = {u"no_result", u"final", u"always_execute", u"multiple_dataset",
                                      u"merge_dataset"};

std::vector<VXNodePtr> CommandsOf(const VXNodePtr& request) {
  std::vector<VXNodePtr> commands;
  request.ForEachChild([&](const VXNodePtr& child) {
    if (child.GetName() == u"Command" && child.GetType().empty()) commands.push_back(child);
  });
  return commands;
}

}  // namespace

std::string RenderCommands(const VXNodePtr& request) {
  const std::vector<VXNodePtr> commands = CommandsOf(request);
  std::string out;
  for (size_t i = 0; i < commands.size(); ++i) {
    out += "-- Command " + std::to_string(i + 1) + " of " + std::to_string(commands.size()) + ":";
    for (const char16_t* flag : kFlags) {
      out += " " + ToUtf8(flag) + "=" + (commands[i].GetBool(flag, false) ? "true" : "false");
    }
    out += "\n";
    out += ToUtf8(commands[i].GetString(u"SQL_Command", u""));
    if (out.back() != '\n') out += '\n';
  }
  return out;
}
