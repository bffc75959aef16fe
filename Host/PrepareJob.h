#pragma once

#include <ostream>
#include <string>
#include <vector>

// The `prepare` job of the command-line host: builds the engine from a
// catalogue file, prepares every request of the request files in order, and
// prints each request's commands (or, with `xml`, the prepared request trees
// in the node text form).
//
// A request file holds one or more `Query` nodes. A failure is printed to
// `err` as "<file>: 0x%08X <text>"; the job goes on with the next request and
// the exit status is 1. Files that cannot be read also give 1.
//
// The environment file (docs/environment-file.md), when given, lists the
// callers' tokens and the services' canned replies; `as` picks the token the
// requests are made with.
struct PrepareOptions {
  std::string catalog;
  std::vector<std::string> requests;
  bool xml = false;
  std::string environment;
  std::string as;
  // Before each request, look whether the catalogue file changed; if so,
  // load it into the component's configuration and tell the component, which
  // rebuilds its engine on its own thread, as after a configuration change.
  bool watch = false;
};

int RunPrepareJob(const PrepareOptions& options, std::ostream& out, std::ostream& err);
