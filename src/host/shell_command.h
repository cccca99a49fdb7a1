// A command line for the shell. What it is built from is either text of our own or a word that passes the plain-word
// test (common/plain_word.h): no other text can get into it.
//
//   ShellCommand command(CMD_velomux, " -ll "_sh, device_name);
//
//   "..."_sh                 text of our own, as it stands; only a literal can be one
//   own<CMD_cp>()            a named constant, as it stands
//   a text                   a word from outside, or a constant that is one: must be plain
//   DeviceName{text}         a word that becomes a name below /sys or /dev: it holds no "/" either
//   PolicyText{text}         a group policy or a selector: blanks are allowed too
#pragma once

#include <cstddef>
#include <string_view>

#include "common/plain_word.h"

namespace dravik {

// What of a command line reaches the shell, with the terminator.
constexpr size_t SHELL_COMMAND_SIZE = 1024;

struct OwnText {
    std::string_view text;
};
inline namespace literals {
constexpr OwnText operator""_sh(const char *text, size_t length) {
    return {{text, length}};
}
} // namespace literals
template <const auto &text> constexpr OwnText own() {
    return {text};
}

struct DeviceName {
    const char *text;
};

struct PolicyText {
    const char *text;
};

class ShellCommand {
  public:
    // An empty command: the shell runs nothing and succeeds.
    ShellCommand() = default;
    template <typename... Parts> explicit ShellCommand(Parts... parts) {
        (add(parts), ...);
    }

    // The line as the shell gets it and the log shows it, cut at SHELL_COMMAND_SIZE - 1 characters.
    const char *line() const {
        return text;
    }
    // False when a word in it was not plain: it must not be run. Those who run one see to that (host/task.h).
    bool isPlain() const {
        return plain;
    }

  private:
    void add(OwnText part) {
        append(part.text);
    }
    void add(const char *word) {
        plain = isPlainWord(word) && plain;
        append(word == nullptr ? "" : word);
    }
    void add(DeviceName name) {
        plain = isPlainDeviceName(name.text) && plain;
        append(name.text == nullptr ? "" : name.text);
    }
    void add(PolicyText policy) {
        plain = isPlainPolicy(policy.text) && plain;
        append(policy.text == nullptr ? "" : policy.text);
    }
    void append(std::string_view part);

    char text[SHELL_COMMAND_SIZE] = "";
    size_t length = 0;
    bool plain = true;
};

} // namespace dravik
