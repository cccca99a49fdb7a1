// Stand-ins for the host's tools: a folder that is the whole PATH while the object lives.
//
// What is not put there does not exist for the commands that the product runs: the shell answers 127. Every
// stand-in notes its call with its arguments before it acts.
#pragma once

#include <string>
#include <vector>

// One at a time. The old PATH is back when the object goes.
class FakeTools {
  public:
    FakeTools();
    ~FakeTools();
    FakeTools(const FakeTools &) = delete;
    FakeTools &operator=(const FakeTools &) = delete;

    // `name` prints `output` (any bytes) and exits with `status`.
    void prints(const std::string &name, const std::string &output, int status = 0) const;
    // The same to standard error.
    void complains(const std::string &name, const std::string &output, int status) const;
    // `name` runs these lines of shell, in which only builtins and absolute paths are found.
    void runs(const std::string &name, const std::string &lines) const;
    // `name` is the machine's own tool.
    void lends(const std::string &name) const;
    // `name` is there but cannot be executed: the shell answers 126.
    void forbids(const std::string &name) const;
    // `name` is gone again.
    void removes(const std::string &name) const;

    // The calls so far, each as the tool's name and its arguments in brackets: "velomux [-ll] [mpatha]". The tools
    // of one pipeline run at once and stand in any order. And forget them.
    std::vector<std::string> calls() const;
    void forgetCalls() const;

    // A file beside the tools, for stand-ins that keep a state.
    std::string file(const std::string &name) const;

  private:
    std::string folder;
    std::string old_path;
};

// The command lines that the messages of a command log (`DumpsFolder::commandLogMessages`) tell of, in their
// order, with the exit status before a colon: "0: cat /etc/hosts 2>&1". The successful ones are logged only
// while DRAVIK_CLI_DEBUG is set: see `DebugLog`.
std::vector<std::string> commandLines(const std::vector<std::string> &messages);

// Lines of level 3 are logged while this object lives.
class DebugLog {
  public:
    DebugLog();
    ~DebugLog();
    DebugLog(const DebugLog &) = delete;
    DebugLog &operator=(const DebugLog &) = delete;
};
