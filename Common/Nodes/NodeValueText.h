#pragma once

// The typed text of one attribute value in the node text form:
//
//   plain text           a string (type 2)
//   str:<text>           a string that would otherwise look like a prefix
//   u16:<hex>            a string with characters XML cannot carry, as four
//                        hex digits per UTF-16 unit
//   null:                no value (type 0)
//   i32:-5  u32:5  i64:-5  u64:5  bool:true  guid:{...}
//   str[]:["a","b"]      lists, JSON-like; strings in double quotes with
//   i32[]:[1,2] ...      \" \\ \n \r \t \uXXXX escapes; other elements bare
//
// A text starting with an unknown prefix is plain text ("dbo:x", "http://x").
//
// U+0000 is carried by string values only (as "u16:"); a name, type, node
// value or element of a string list cannot hold it, and parsing refuses it
// there.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The text of a value in the layout of `type` (see VxnApi.h).
std::u16string FormatAttributeValue(uint32_t type, std::span<const uint8_t> data);

// The text of a plain string: itself, or with "str:" or as "u16:".
std::u16string FormatStringValue(std::u16string_view value);

// Parses a typed text. False with `error` set when a known prefix is followed
// by a malformed value, or a string of a list holds U+0000.
bool ParseAttributeValue(std::u16string_view text, uint32_t& type, std::vector<uint8_t>& data,
                         std::u16string& error);

// Parses the text of a string that has no type of its own (a node's name,
// type or value): plain, "str:" or "u16:". False with `error` set for another
// type or a text holding U+0000.
bool ParseStringValue(std::u16string_view text, std::u16string& value, std::u16string& error);

// True if XML 1.0 can carry every character of `text`.
bool IsXmlText(std::u16string_view text);
