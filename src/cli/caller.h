// Who runs the tool and what he typed, as texts that stand in one line of a log or of a message.
//
// Whatever an argument or the environment holds, these texts are printable ASCII: no argument can break a line,
// forge another or reach a terminal.
#pragma once

// Room for a user's name.
constexpr unsigned int USER_NAME_SIZE = 65;

// The user that the tool runs as: his name, or his number where he has none.
void runningUser(char *out, unsigned int size);

// The user who logged in before he became the running one, by the kernel's login uid (it survives su and sudo),
// else by what sudo tells; "" when there is none or it is the running user.
void loginUser(char *out, unsigned int size);

// The command line: "dravik" and the words argv[1] to argv[argc - 1]. A word that is not plain (plain_word.h)
// stands in double quotes, '"' and '\' in it behind a '\', anything but printable ASCII as \xHH. A text that
// does not fit ends in "...".
void shownCommandLine(int argc, const char *const *argv, char *out, unsigned int size);

// `text` with a '\' as "\\" and anything but printable ASCII as \xHH. A text that does not fit ends in "...".
void shownText(const char *text, char *out, unsigned int size);
