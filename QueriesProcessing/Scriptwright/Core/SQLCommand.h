#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "QueriesProcessing/Scriptwright/Core/CommandTextCleanup.h"
#include "QueriesProcessing/Scriptwright/Core/VariableEntry.h"

namespace QueriesProcessing {

// One SQL statement of a query template, or one named part of one.
//
// Built from an `sql_command` or `sql_command_part` node:
//   command              the SQL text with its %TOKEN%s (required unless the
//                        node has `sql_command_part` children)
//   variable_processors  child whose `variable_processor` children list the
//                        processors in order, each with `processor_alias`
//   variables            string list of tokens, read only without the child
//   no_result (true), final, multiple_dataset, always_execute (false)
//
// The text is cleaned once (CleanCommandText): tabs are removed, then every
// pair of spaces, so "SELECT   1" becomes "SELECT 1" and "SELECT  1" becomes
// "SELECT1". Line breaks stay; template authors separate words by one space
// or a new line.
//
// GenerateText runs the listed processors over "\n/***\n<name>\n***/\n" +
// text, in list order; a command with parts returns its parts' texts joined
// with nothing between them. Tokens no processor replaces stay in the text.
// While it runs, the request's `CurrentCommand` holds this command's name;
// the earlier value is put back on success (an absent one as "").
//
// Immutable after construction; GenerateText runs under the engine's lock.
class CSQLCommand {
 public:
  // Raises HRX 0x80070490 for a missing `command` or `processor_alias`.
  explicit CSQLCommand(const VXNodePtr& node);

  // Raises HRX with a processor's failure, or 0x80070057 for a listed token
  // that has no processor.
  std::u16string GenerateText(VXNodePtr& request) const;

  bool noResult() const { return noResult_; }
  bool isFinal() const { return isFinal_; }
  bool multipleDataset() const { return multipleDataset_; }
  bool alwaysExecute() const { return alwaysExecute_; }
  const std::u16string& name() const { return name_; }

 private:
  void ReadProcessors(const VXNodePtr& node);
  std::u16string GenerateOwnText(VXNodePtr& request) const;
  // The banner and the text, in a buffer with room to grow.
  std::u16string WorkingText() const;

  std::u16string text_;
  std::u16string name_;
  std::vector<std::shared_ptr<CSQLCommand>> parts_;
  bool noResult_ = true;
  bool isFinal_ = false;
  bool multipleDataset_ = false;
  bool alwaysExecute_ = false;
  std::vector<VariableEntry> processors_;
};

}  // namespace QueriesProcessing
