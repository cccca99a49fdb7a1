// Stand-ins for the host's tools: small shell scripts in a folder of their own.
#include "tests/support/fake_tools.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

void writeFile(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        ADD_FAILURE() << "cannot write " << path;
    }
}

} // namespace

FakeTools::FakeTools() {
    const char *path = getenv("PATH");
    old_path = path == nullptr ? "" : path;
    folder = testing::TempDir() + "dravik-tools.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        perror(folder.c_str());
        abort();
    }
    std::filesystem::create_directory(folder + "/bin");
    setenv("PATH", (folder + "/bin").c_str(), 1);
}

FakeTools::~FakeTools() {
    setenv("PATH", old_path.c_str(), 1);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void FakeTools::runs(const std::string &name, const std::string &lines) const {
    const std::string path = folder + "/bin/" + name;
    removes(name); // it may be a lent tool, which must not be written through
    std::ostringstream script;
    script << "#!/bin/sh\n"
           << "call=" << name << "\n"
           << "for word in \"$@\"; do call=\"$call [$word]\"; done\n"
           << "printf '%s\\n' \"$call\" >> '" << file("calls") << "'\n"
           << lines << "\n";
    writeFile(path, script.str());
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

void FakeTools::prints(const std::string &name, const std::string &output, int status) const {
    writeFile(file(name + ".out"), output);
    runs(name, "/bin/cat '" + file(name + ".out") + "'\nexit " + std::to_string(status));
}

void FakeTools::complains(const std::string &name, const std::string &output, int status) const {
    writeFile(file(name + ".out"), output);
    runs(name, "/bin/cat '" + file(name + ".out") + "' >&2\nexit " + std::to_string(status));
}

void FakeTools::lends(const std::string &name) const {
    removes(name);
    std::istringstream places(old_path);
    for (std::string place; std::getline(places, place, ':');) {
        const std::string tool = place.append("/").append(name);
        if (access(tool.c_str(), X_OK) == 0) {
            std::filesystem::create_symlink(tool, folder + "/bin/" + name);
            return;
        }
    }
    ADD_FAILURE() << "this machine has no " << name;
}

void FakeTools::forbids(const std::string &name) const {
    // Its interpreter is a file that nobody may execute. A tool without the execute bit would not do: some shells
    // look on for another one and answer 127.
    writeFile(file("no-program"), "");
    removes(name);
    writeFile(folder + "/bin/" + name, "#!" + file("no-program") + "\n");
    std::filesystem::permissions(folder + "/bin/" + name, std::filesystem::perms::owner_all);
}

void FakeTools::removes(const std::string &name) const {
    std::error_code ignored;
    std::filesystem::remove_all(folder + "/bin/" + name, ignored);
}

std::vector<std::string> FakeTools::calls() const {
    std::vector<std::string> found;
    std::ifstream stream(file("calls"));
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

void FakeTools::forgetCalls() const {
    std::error_code ignored;
    std::filesystem::remove(file("calls"), ignored);
}

std::string FakeTools::file(const std::string &name) const {
    return folder + "/" + name;
}

std::vector<std::string> commandLines(const std::vector<std::string> &messages) {
    static const std::string good_begin = "DEBUG Execute command [";
    static const std::string good_end = "] successfully.\n";
    static const std::string bad_begin = "ERROR Execute command [";
    static const std::string bad_middle = "] failed, exit code [";
    std::vector<std::string> lines;
    for (const std::string &message : messages) {
        const size_t good = message.rfind(good_end);
        const size_t bad = message.rfind(bad_middle);
        if (message.rfind(good_begin, 0) == 0 && good == message.size() - good_end.size()) {
            lines.push_back("0: " + message.substr(good_begin.size(), good - good_begin.size()));
        } else if (message.rfind(bad_begin, 0) == 0 && bad != std::string::npos) {
            const size_t status = bad + bad_middle.size();
            lines.push_back(message.substr(status, message.find(']', status) - status) + ": " +
                            message.substr(bad_begin.size(), bad - bad_begin.size()));
        }
    }
    return lines;
}

DebugLog::DebugLog() {
    setenv("DRAVIK_CLI_DEBUG", "1", 1);
}

DebugLog::~DebugLog() {
    unsetenv("DRAVIK_CLI_DEBUG");
}
