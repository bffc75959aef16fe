#pragma once

#include "Common/Nodes/VXNodePtr.h"

struct sqlite3_stmt;

// The current row of `statement` as a node of type "Row", with one attribute
// per column, named as the column (a later column of the same name replaces
// an earlier one), in column order:
//
//   column                                       attribute
//   declared GUID or UNIQUEIDENTIFIER (any case), GUID (13)
//     its text in any of the four GUID forms,
//     or 16 bytes in the platform's layout
//   text written as a GUID: "{" + 36 + "}"       GUID (13)
//   integer                                      64-bit integer (6)
//   text                                         string (2), U+0000 kept
//   real                                         string (2): SQLite's text of it
//   blob                                         string (2): "0x" and
//                                                upper-case hex digits
//   NULL                                         no value (0)
//
// A declared GUID column whose value reads as no GUID falls to the rows
// below it. Raises HRX only when the node library fails.
VXNodePtr ReadRow(sqlite3_stmt* statement);
