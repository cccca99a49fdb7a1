// The dispatcher of the administration commands.
#include "cli/dispatch.h"

#include <cstdio>

#include "cli/command_table.h"
#include "commands/conf_file.h"
#include "commands/delete.h"
#include "commands/devstats.h"
#include "commands/parameter_buffers.h"
#include "commands/port.h"
#include "commands/query.h"
#include "commands/refresh.h"
#include "commands/service.h"
#include "commands/setalias.h"
#include "commands/setpathpolicy.h"
#include "commands/setstate.h"
#include "common/text.h"

namespace {

s_ecItems *scanWithNotice(int /*argc*/) {
    puts("This operation may take several minutes, please wait patiently.");
    fflush(stdout); // a notice that comes with the result is none
    return scan();
}

s_ecItems *startService(int /*argc*/) {
    checkAndCreatlvmlibs();
    return chMultipathdService("start");
}

s_ecItems *registerForStatistics(int /*argc*/) {
    return gParamMpathxVal[0] != '\0' ? querySingleDevStats(gParamMpathxVal) : queryDevStats();
}

struct Command {
    const char *name;
    s_ecItems *(*run)(int argc);
};

constexpr Command COMMANDS[] = {
    {"mkconfig", [](int) { return mkconfig(); }},
    {"lsselfstart", [](int) { return lsselfstart(); }},
    {"setselfstart", [](int) { return chMultipathdService("enable"); }},
    {"config", [](int) { return config(); }},
    {"scan", scanWithNotice},
    {"aggregation", [](int) { return aggregation(); }},
    {"query", [](int argc) { return argc == 3 ? querySingleDevice(gParamMpathxVal) : query(); }},
    {"devstats", registerForStatistics},
    {"status", [](int) { return status(); }},
    {"start", startService},
    {"stop", [](int) { return chMultipathdService("stop"); }},
    {"restart", [](int) { return restart(); }},
    {"delete", [](int) { return delete_(gParamMpathxVal); }},
    {"setstate", [](int) { return setpathstate(); }},
    {"setpathpolicy", [](int) { return setpathpolicy(); }},
    {"lspathpolicy", [](int) { return lspathpolicy(); }},
    {"version", [](int) { return version(); }},
    {"setalias", [](int) { return setalias(); }},
    {"lsalias", [](int) { return lsalias(); }},
    {"delalias", [](int) { return delalias(); }},
    {"port", [](int) { return lsport(); }},
    {"refresh", [](int) { return refresh(); }},
};

} // namespace

s_ecItems *exeCli(int argc, const char *const *argv) {
    const char *name = argc > 1 && argv[1] != nullptr ? argv[1] : "";
    for (const Command &command : COMMANDS) {
        if (tessaline_strncmp(name, command.name, CLI_NAME_SIZE) == 0) {
            return command.run(argc);
        }
    }
    initEcItems1(&EC_invalid_cli_name, name);
    return &EC_invalid_cli_name;
}
