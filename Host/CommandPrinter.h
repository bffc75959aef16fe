#pragma once

#include <string>

#include "Common/Nodes/VXNodePtr.h"

// Renders the `Command` children of a prepared request for people: per
// command a header line with its number and flags, then its SQL text as the
// engine wrote it (UTF-8), ending with a line break:
//
//   -- Command 1 of 2: no_result=true final=false always_execute=false multiple_dataset=false merge_dataset=true
//
//   /***
//   main
//   ***/
//   SELECT ...
std::string RenderCommands(const VXNodePtr& request);
