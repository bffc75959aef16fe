#pragma once

#include <cstdint>
#include <string_view>

namespace QueriesProcessing {

// The number under which a continuation mark names one database: the
// database's key (its bracketed name, "[Audit]") upper-cased by
// InvariantUpper, then FNV-1a with 64 bits (offset basis 0xcbf29ce484222325,
// prime 0x100000001b3) over the UTF-16 units, low byte of each unit first, no
// terminator. Keys that differ only in case get the same number. Pure and
// thread-safe.
uint64_t DatabaseHash(std::u16string_view dbKey);

}  // namespace QueriesProcessing
