// scriptwright: the command-line host of the library.

#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>

#include "Common/Logger.h"
#include "Common/StderrLogger.h"
#include "Host/MarkJob.h"
#include "Host/PrepareJob.h"
#include "Host/TraceLogger.h"

int main(int argc, char** argv) {
  CLI::App app{"Scriptwright: turns audit-report requests into Transact-SQL batches.",
               "scriptwright"};
  app.require_subcommand(1);

  PrepareOptions prepare;
  CLI::App* prepareCommand = app.add_subcommand(
      "prepare", "Prepare requests against a catalogue of query templates and print the SQL.");
  prepareCommand
      ->add_option("--catalog", prepare.catalog, "Catalogue of query templates (node text form)")
      ->required();
  prepareCommand->add_option("requests", prepare.requests, "Request files (node text form)")
      ->required();
  prepareCommand->add_flag("--xml", prepare.xml,
                           "Print the prepared request trees in the node text form");
  prepareCommand->add_option("--env", prepare.environment,
                             "Environment file: the callers' tokens and the services' replies");
  prepareCommand->add_option("--as", prepare.as,
                             "Make the requests as this token of the environment");
  prepareCommand->add_flag("--watch", prepare.watch,
                           "Rebuild the engine when the catalogue file changes during the run");
  double membershipWait = 60;
  prepareCommand
      ->add_option("--membership-wait", membershipWait,
                   "Seconds a request may wait in the membership preprocessor before the host "
                   "shuts it down")
      ->check(CLI::Range(0.0, 86400.0));

  MarkOptions mark;
  CLI::App* markCommand = app.add_subcommand(
      "mark", "Print one element of a Continuation_Mark list: the position reached in a database.");
  markCommand->add_option("--db", mark.db, "The database's name, as its data source's db gives it")
      ->required();
  markCommand->add_option("columns", mark.columns,
                          "COLUMN=VALUE of the last row delivered: RID and every sort column");

  std::string logLevel;
  bool logToStderr = false;
  app.add_option("--log-level", logLevel,
                 "Highest severity written to the log, in place of the settings")
      ->check(CLI::IsMember({"NONE", "CRIT", "ERR", "WARN", "INFO", "DBG", "DBG2", "DBG3"}));
  app.add_flag("--log-stderr", logToStderr, "Also write the log lines to standard error");
  bool trace = false;
  app.add_flag("--trace", trace, "Show the command text after each processor, on standard error");

  CLI11_PARSE(app, argc, argv);
  if (markCommand->parsed()) return RunMarkJob(mark, std::cout, std::cerr);
  prepare.membershipWait = std::chrono::milliseconds(static_cast<int64_t>(membershipWait * 1000));
  // The library's log is reached through the loaded module: the job hands
  // these on. The host's own log (its stand-ins' calls) takes them here.
  Severity severity = Severity::NONE;
  if (!logLevel.empty() && ParseSeverity(ToUtf16(logLevel), severity)) {
    prepare.maxSeverity = severity;
    SetMaxSeverity(severity);
  }
  if (logToStderr) {
    Logger* toStderr = new StderrLogger;  // lives as long as the process
    prepare.loggers.push_back(toStderr);
    AddLogger(toStderr);
  }
  if (trace) {
    prepare.loggers.push_back(new TraceLogger(std::cerr));
    if (logLevel.empty() || severity < Severity::DBG) prepare.maxSeverity = Severity::DBG;
  }
  return RunPrepareJob(prepare, std::cout, std::cerr);
}
