// Any command line: the parameter checks keep their buffers terminated and answer with a record of the table.
#include "cli/cli_tags.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const s_ecItems *RECORDS[] = {
#define EC_ADDRESS(code, name, message) &name,
    EC_RECORDS(EC_ADDRESS)
#undef EC_ADDRESS
};

void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

bool isOfTheTable(const s_ecItems *record) {
    for (const s_ecItems *known : RECORDS) {
        if (record == known) {
            return true;
        }
    }
    return false;
}

// A newline stands between two arguments; the first is the name of the command.
std::vector<std::string> wordsOf(const uint8_t *data, size_t size) {
    std::vector<std::string> words = {""};
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            words.emplace_back();
        } else {
            words.back() += static_cast<char>(data[i]);
        }
    }
    return words;
}

// What a passed check promises the handlers.
void checkPromises(const char *command) {
    if (strcmp(command, "setstate") == 0) {
        require(strcmp(gParamStateVal, "online") == 0 || strcmp(gParamStateVal, "offline") == 0, "state");
        require(gParamMpathxVal[0] != '\0', "device of setstate");
    } else if (strcmp(command, "setpathpolicy") == 0) {
        require(strcmp(gParamGroupVal, "multibus") == 0, "group");
        require(gParamChooserVal[0] != '\0' && strpbrk(gParamChooserVal, " ;'\"") == nullptr, "chooser");
        require(gParamHostInterfaceType == 0 || gParamHostInterfaceType == 1, "interface type");
    } else if (strcmp(command, "setalias") == 0) {
        const size_t length = strlen(gParamWwidVal);
        require(length == 33 || length == 36, "WWID");
        require(strlen(gParamAliasVal) >= 1 && strlen(gParamAliasVal) <= 60, "alias");
        require(strpbrk(gParamAliasVal, " ;'\"$`\n") == nullptr, "alias in a shell");
    } else if (strcmp(command, "devstats") == 0) {
        require(strspn(gParamIntervalVal, "0123456789") == strlen(gParamIntervalVal), "interval");
    } else if (strcmp(command, "delete") == 0) {
        require(strlen(gParamMpathxVal) >= 1 && strlen(gParamMpathxVal) <= 60, "device of delete");
        require(strpbrk(gParamMpathxVal, " ;'\"$`\n") == nullptr, "device in a shell");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    char *const buffers[] = {gParamMpathxVal,  gParamPathVal, gParamStateVal, gParamGroupVal,
                             gParamChooserVal, gParamWwidVal, gParamAliasVal, gParamIntervalVal};
    for (char *buffer : buffers) {
        memset(buffer, 0, PARAM_SIZE);
    }
    const std::vector<std::string> words = wordsOf(data, size);
    std::vector<const char *> argv = {"dravik"};
    for (const std::string &word : words) {
        argv.push_back(word.c_str());
    }
    argv.push_back(nullptr);

    const s_ecItems *result = checkCliParams(static_cast<int>(argv.size()) - 1, argv.data());
    require(isOfTheTable(result), "the record");
    for (const char *buffer : buffers) {
        require(memchr(buffer, '\0', PARAM_SIZE) != nullptr, "the end of a buffer");
    }
    require(gParamHostportVal[0] == '\0', "the host port stays empty");
    for (const auto &item : result->items) {
        require(strnlen(item, sizeof(item)) <= 64, "the words of a record");
    }
    char message[256] = "";
    getErrorMsg(result, message, sizeof(message));
    require(strncmp(message, "Error(", 6) == 0, "the message");
    if (result->code == 0) {
        checkPromises(argv[1]);
    }
    return 0;
}
