#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

// The `mark` job of the command-line host: writes one element of a request's
// `Continuation_Mark` list, so that a person can ask for the next page of a
// continuous search by hand.
//
//   scriptwright mark --db Audit_Files RID=1042 "When=2026-03-01 10:00:00"
//   ->  <hash of
//   "[AUDIT_FILES]">:RID;MQAwADQAMgA=,When;MgAwADIANgAtADAAMwAtADAAMQAgADEAMAA6ADAAMAA6ADAAMAA=
//
// `db` is the database's name as its data source's `db` attribute gives it,
// in any case; the element names the database by the hash of its key (the
// name bracketed, "]" doubled, then upper-cased: "[AUDIT_FILES]"). Each
// column is "COLUMN=VALUE", split at the first "=", and is written in the
// order given; the value may be empty. No columns give "<hash>:", which reads
// as the database's first page.
struct MarkOptions {
  std::string db;
  std::vector<std::string> columns;
};

// The database's key: its name in brackets ("]" doubled), upper-cased with
// InvariantUpper. "Audit]x" -> "[AUDIT]]X]".
std::u16string DatabaseKey(std::u16string_view db);

// The mark element for `options` (arguments in UTF-8). Raises HRX 0x80070057
// for a column without "=", with an empty name, or with a name holding ","
// or ";".
std::u16string MakeMarkElement(const MarkOptions& options);

// Prints the element and a line break to `out` and gives 0; on a failure
// prints "mark: 0x%08X <text>" to `err` and gives 1.
int RunMarkJob(const MarkOptions& options, std::ostream& out, std::ostream& err);
