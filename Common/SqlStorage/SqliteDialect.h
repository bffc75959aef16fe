#pragma once

#include <string>
#include <string_view>

// Turns a batch written the way the server's SQL is written (UTF-16, with the
// server dialect's literal forms) into UTF-8 text that SQLite's parser reads
// with the same meaning. The library writes some literals itself, whatever
// the catalogue's dialect: members as N'...' rows, session lists as
// N'{...}', names escaped as [a]]b]. One pass, linear in the batch:
//
//  - N'...' (either case of N, not glued to a word before it) loses the N;
//    SQLite's text is Unicode already:   N'o''brien'  ->  'o''brien'
//  - a U+0000 inside a '...' literal is spliced in as a char(0) expression,
//    which SQLite's parser could not read in the text itself:
//    'a<NUL>b'  ->  'a'||char(0)||'b'
//  - [name] stays as it is, unless it holds "]]": then it becomes the
//    backquoted name with the doubled bracket single:   [a]]b]  ->  `a]b`
//  - a U+0000 inside a comment is dropped (SQLite would end the text there);
//    anywhere else (code, quoted names) it fails the batch with 0x80070057,
//    since no reading would keep its meaning.
//  - a lone surrogate becomes U+FFFD, as in every UTF-16 to UTF-8 conversion
//    of the library.
//
// Everything else, '...' and "..." and `...` quoting, -- and /* */ comments,
// passes unchanged. The output holds no U+0000, so SQLite may read it as a
// terminated text.
std::string ToSqliteText(std::u16string_view batch);
