#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Checks the bytes of a node text form document before the XML parser sees
// them, for what the parser would otherwise change silently:
//
//   - a UTF-16 or UTF-32 text (a byte-order mark FF FE or FE FF, or a NUL
//     among the first four bytes);
//   - bytes that are not UTF-8 (stray continuation bytes, cut or overlong
//     sequences, surrogates, values past U+10FFFF);
//   - a NUL byte;
//   - a character reference ("&#0;", "&#xD800;", "&#x110000;") to U+0000,
//     a surrogate or no character at all: the parser would cut the value
//     there or store bytes that are not UTF-8. References inside comments,
//     processing instructions and CDATA are not references and pass.
//
// One pass over the text. Returns the first fault: its byte offset and a
// message; none for a sound text.
struct NodeTextFault {
  size_t offset;
  std::u16string message;
};

std::optional<NodeTextFault> FindNodeTextFault(std::string_view text);
