#pragma once

#include <string>
#include <string_view>

namespace QueriesProcessing {

// The key of one database: its name in brackets, every "]" doubled, then
// upper-cased by InvariantUpper, so that names which differ only in case
// name one database:
//   MakeDbKey(u"Audit")   -> u"[AUDIT]"
//   MakeDbKey(u"a]b")     -> u"[A]]B]"
// The %DB_NAME% processor files its targets under this key and looks the
// database's continuation mark up by it (DatabaseHash); whoever writes a mark
// for a database by its name must make the key the same way. Pure and
// thread-safe.
std::u16string MakeDbKey(std::u16string_view dbName);

}  // namespace QueriesProcessing
