// scriptwright: the command-line host of the library.

#include <CLI/CLI.hpp>

#include <iostream>

#include "Host/PrepareJob.h"

int main(int argc, char** argv) {
  CLI::App app{"Scriptwright: turns audit-report requests into Transact-SQL batches.", "scriptwright"};
  app.require_subcommand(1);

  PrepareOptions prepare;
  CLI::App* prepareCommand =
      app.add_subcommand("prepare", "Prepare requests against a catalogue of query templates and print the SQL.");
  prepareCommand->add_option("--catalog", prepare.catalog, "Catalogue of query templates (node text form)")
      ->required();
  prepareCommand->add_option("requests", prepare.requests, "Request files (node text form)")->required();
  prepareCommand->add_flag("--xml", prepare.xml, "Print the prepared request trees in the node text form");

  CLI11_PARSE(app, argc, argv);
  return RunPrepareJob(prepare, std::cout, std::cerr);
}
