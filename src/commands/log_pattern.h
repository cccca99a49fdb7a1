// A text of a log as a pattern, and a pasted line held against it.
//
// "..." in a pattern stands for any text, none included; everything else for itself.
#pragma once

#include <cstddef>
#include <string_view>

namespace dravik {

// Whether the whole message is one of the pattern.
bool isOfPattern(std::string_view message, std::string_view pattern);

// Whether the message begins as one of the pattern does: what is left of a line that was too long for the log. False for a
// pattern that begins with "...".
bool beginsAsPattern(std::string_view message, std::string_view pattern);

// How many characters of the pattern stand for themselves: the more, the more it says.
size_t fixedLength(std::string_view pattern);

// What is left of a line of either log without its time stamp, level, function and line number, as far as they are there:
//   [2026-11-21 03:12:41.047] ERROR getLunPath 219 Query Dravik infomation failed. ...
std::string_view messageOf(std::string_view line);

// Whether the line may have been cut by the log, which ends lines of 1023 characters.
bool mayBeCut(std::string_view line);

} // namespace dravik
