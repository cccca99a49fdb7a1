// A text of a log as a pattern, and a pasted line held against it.
//
// "..." in a pattern stands for any text, none included; everything else for itself.
#pragma once

#include <cstddef>
#include <string_view>

namespace dravik {

// Whether the whole message is one of the pattern.
bool isOfPattern(std::string_view message, std::string_view pattern);

// How many of the pattern's own characters the message, whose end is missing, has in their order, the whole of its
// beginning among them. 0 where that is not there, and for a pattern that begins with "...".
size_t begunLength(std::string_view message, std::string_view pattern);

// How many characters of the pattern stand for themselves: the more, the more it says.
size_t fixedLength(std::string_view pattern);

// What is left of a line of either log without its time stamp, level, function and line number, as far as they are there:
//   [2026-11-21 03:12:41.047] ERROR getLunPath 219 Query Dravik infomation failed. ...
std::string_view messageOf(std::string_view line);

// Whether the end of the line's message may be missing, `message` being what messageOf has left of it: the log ends lines of
// 1023 characters, and a message of several lines is a line of the log and what a tool has printed.
bool mayBeCut(std::string_view line, std::string_view message);

} // namespace dravik
