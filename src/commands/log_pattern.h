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

// Whether the end of the line may be missing, and the next line's text stand in its place: the log cuts lines at 1023
// characters, with their newline.
bool mayBeCut(std::string_view line);

// What stands behind the command in the message of an audit line, from its result's first character on; "" of any other
// message. What a user has typed is told from it by the quotes around each of his words that is not plain:
//   user root ran [dravik setalias "x]: Error(0115)"]: Error(0103): Invalid command parameter name [x].
std::string_view auditedResult(std::string_view message);

} // namespace dravik
