#pragma once

#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Common/Logger.h"

// The `prepare` job of the command-line host: loads the library, configures a
// preparer with the catalogue file, prepares every request of the request
// files in order, and prints each request's commands (or, with `xml`, the
// prepared request trees in the node text form).
//
// When the catalogue file holds, after the catalogue, a node of type
// `GroupMembershipPreprocessor`, it configures the membership preprocessor
// (PreprocessorSlot), and the host serves the database settings service under
// its `DSMInstName` and the SQL storage over SQLite under its
// `SimpleStorageInstName`. A request with conditions then goes through the
// preprocessor before the preparer, as in a server's chain; a failure there
// keeps it from the preparer. --watch changes the preparer only.
//
// A request file holds one or more `Query` nodes, and may hold steps that
// play a session's life, each taken in its turn:
//   Cookie            a cancel, as a server sends it: CancelQuery of the
//                     preprocessor (if any), then of the preparer, with the
//                     node itself (the preprocessor reads its `SessionId`)
//   KeepAlive         NotifyGetResult of the preprocessor with the node itself
//                     (`SessionId` or `Cookie`); nothing without one
//   DatabaseSettings  the node becomes the settings of the database settings
//                     service, whose subscribers are told (OnModify)
//   StorageQuery      its `SQL_Command` runs in the SQL storage; prints
//                     "-- StorageQuery: <n> row(s)" and the rows in the node
//                     text form
// A failure is printed to
// `err` as "<file>: 0x%08X <text>", whatever the status (one that stands for
// a standard exception too); the job goes on with the next request and the
// exit status is 1. Files that cannot be read also give 1.
//
// The environment file (docs/environment-file.md), when given, lists the
// callers' tokens, the services' canned replies, the data sources and the
// permissions (HostEnvironment); `as` picks the token the requests are made
// with. An environment that does not read, or an `as` it does not know, is
// printed as "<environment file>: 0x%08X <text>" (or "--as: ..." without a
// file) and gives 1 before the library is loaded.
struct PrepareOptions {
  std::string catalog;
  std::vector<std::string> requests;
  bool xml = false;
  std::string environment;
  std::string as;
  // Before each request, look whether the catalogue file changed; if so,
  // configure a fresh preparer with it and, once that one is ready, use it in
  // place of the one before. A catalogue that does not read or load is
  // reported to `err` and the one in use stays; that alone does not change
  // the exit status.
  bool watch = false;
  // The library's log: the highest severity written, in place of its
  // settings (none: the settings decide), and loggers of the host that get
  // every line as well (each must live until the process ends).
  std::optional<Severity> maxSeverity = std::nullopt;
  std::vector<Logger*> loggers = {};
  // How long a request may wait in the membership preprocessor before the
  // host shuts it down (PreprocessorSlot).
  std::chrono::milliseconds membershipWait = std::chrono::seconds(60);
};

int RunPrepareJob(const PrepareOptions& options, std::ostream& out, std::ostream& err);
