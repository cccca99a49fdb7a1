// The commands, and what the front end asks of their table.
#include "cli/command_table.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "commands/aggregation.h"
#include "commands/baseline.h"
#include "commands/check.h"
#include "commands/config.h"
#include "commands/delalias.h"
#include "commands/delete.h"
#include "commands/devstats.h"
#include "commands/events.h"
#include "commands/explain.h"
#include "commands/list.h"
#include "commands/lsalias.h"
#include "commands/lsalias_json.h"
#include "commands/lspathpolicy.h"
#include "commands/lspathpolicy_json.h"
#include "commands/lsselfstart.h"
#include "commands/metrics.h"
#include "commands/mkconfig.h"
#include "commands/parameter_buffers.h"
#include "commands/port.h"
#include "commands/port_json.h"
#include "commands/query.h"
#include "commands/query_json.h"
#include "commands/refresh.h"
#include "commands/restart.h"
#include "commands/scan.h"
#include "commands/setalias.h"
#include "commands/setpathpolicy.h"
#include "commands/setselfstart.h"
#include "commands/setstate.h"
#include "commands/start.h"
#include "commands/status.h"
#include "commands/status_json.h"
#include "commands/stop.h"
#include "commands/version.h"
#include "commands/version_json.h"
#include "common/nearest_name.h"
#include "common/text.h"

namespace dravik {

namespace {

s_ecItems *scanWithNotice(int /*argc*/) {
    puts("This operation may take several minutes, please wait patiently.");
    fflush(stdout); // a notice that comes with the result is none
    return scan();
}

s_ecItems *queryOneOrAll(int argc) {
    return argc == 3 ? querySingleDevice(gParamMpathxVal) : query();
}

s_ecItems *registerOneOrAll(int /*argc*/) {
    return gParamMpathxVal[0] != '\0' ? querySingleDevStats(gParamMpathxVal) : queryDevStats();
}

// A command that asks only the parameter buffers.
template <s_ecItems *(*command)()> s_ecItems *run(int /*argc*/) {
    return command();
}

constexpr bool CHANGES = true;
constexpr bool READS = false;
constexpr CommandKind LISTED = CommandKind::LISTED;
constexpr CommandKind UNLISTED = CommandKind::UNLISTED;
constexpr CommandKind SERVICE = CommandKind::SERVICE;
constexpr CommandKind OWN = CommandKind::OWN;

// What each reading command answers as structured data.
constexpr const char *DEVSTATS_ANSWER[] = {"interval_s", "devices", nullptr};
constexpr const char *LSALIAS_ANSWER[] = {"aliases", nullptr};
constexpr const char *LSPATHPOLICY_ANSWER[] = {"scsi", "nvme", nullptr};
constexpr const char *PORT_ANSWER[] = {"ports", nullptr};
constexpr const char *QUERY_ANSWER[] = {"volumes", nullptr};
constexpr const char *STATUS_ANSWER[] = {"service", nullptr};
constexpr const char *VERSION_ANSWER[] = {"version", nullptr};

// The row of a command of our own. What it changes, if anything, is the ledger.
constexpr Command own(const char *name, Parameters parameters, int (*command)(const OwnCall &)) {
    return {name, OWN, READS, parameters, nullptr, nullptr, nullptr, nullptr, command};
}

// In the order of the printed list.
constexpr Command COMMANDS[] = {
    {"aggregation", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<aggregation>},
    {"config", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<config>},
    {"delalias", LISTED, CHANGES, DELALIAS_PARAMETERS, checkDelAliasParams, checkWwidForShell, run<delalias>},
    {"delete", LISTED, CHANGES, DEVICE_PARAMETER, checkDeleteParams, nullptr,
     [](int) { return delete_(gParamMpathxVal); }},
    {"lsalias", LISTED, READS, NO_PARAMETERS, checkNoParams, nullptr, run<lsalias>, describeLsalias, nullptr,
     LSALIAS_ANSWER},
    {"lspathpolicy", LISTED, READS, NO_PARAMETERS, checkNoParams, nullptr, run<lspathpolicy>,
     describeLspathpolicy, nullptr, LSPATHPOLICY_ANSWER},
    {"query", LISTED, READS, DEVICE_PARAMETER, checkQueryParams, nullptr, queryOneOrAll, describeQuery,
     nullptr, QUERY_ANSWER},
    {"restart", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<restart>},
    {"scan", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, scanWithNotice},
    {"setalias", LISTED, CHANGES, SETALIAS_PARAMETERS, checkSetAliasParams, nullptr, run<setalias>},
    {"setstate", LISTED, CHANGES, SETSTATE_PARAMETERS, checkSetStateParams, nullptr, run<setpathstate>},
    {"setpathpolicy", LISTED, CHANGES, SETPATHPOLICY_PARAMETERS, checkSetPathPolicyParams, nullptr,
     run<setpathpolicy>},
    {"start", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<startDaemon>},
    {"status", LISTED, READS, NO_PARAMETERS, checkNoParams, nullptr, run<status>, describeStatus, nullptr,
     STATUS_ANSWER},
    {"stop", LISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<stopDaemon>},
    {"version", LISTED, READS, NO_PARAMETERS, checkNoParams, nullptr, run<version>, describeVersion, nullptr,
     VERSION_ANSWER},
    {"port", LISTED, READS, NO_PARAMETERS, checkNoParams, nullptr, run<lsport>, describePort, nullptr,
     PORT_ANSWER},
    {"devstats", LISTED, READS, DEVSTATS_PARAMETERS, checkDevStatsParams, checkInterval, registerOneOrAll,
     nullptr, nullptr, DEVSTATS_ANSWER},
    {"refresh", UNLISTED, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<refresh>},
    {"mkconfig", SERVICE, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<mkconfig>},
    {"lsselfstart", SERVICE, READS, NO_PARAMETERS, checkNoParams, nullptr, run<lsselfstart>},
    {"setselfstart", SERVICE, CHANGES, NO_PARAMETERS, checkNoParams, nullptr, run<enableSelfStart>},
    own("check", CHECK_PARAMETERS, check),
    own("list", LIST_PARAMETERS, list),
    own("events", EVENTS_PARAMETERS, events),
    own("baseline", BASELINE_PARAMETERS, baseline),
    own("metrics", METRICS_PARAMETERS, metrics),
    own("explain", EXPLAIN_PARAMETERS, explain),
};

const char *kindName(CommandKind kind) {
    switch (kind) {
    case LISTED:
        return "listed";
    case UNLISTED:
        return "unlisted";
    case SERVICE:
        return "service";
    case OWN:
        break;
    }
    return "own";
}

// The row of the name among our own commands, or among the others.
const Command *findRow(const char *name, bool own) {
    const Command *row =
        std::find_if(std::begin(COMMANDS), std::end(COMMANDS), [name, own](const Command &command) {
            return (command.kind == OWN) == own && tessaline_strncmp(name, command.name, CLI_NAME_SIZE) == 0;
        });
    return row == std::end(COMMANDS) ? nullptr : row;
}

void printParameter(const Parameter &parameter) {
    printf(" %s%s%s", parameter.name, parameter.value[0] == '\0' ? "" : "=", parameter.value);
    if (parameter.value_at == nullptr) {
        return;
    }
    const char *value = parameter.value_at(0);
    for (int i = 1; value != nullptr; value = parameter.value_at(i++)) {
        printf("%c%s", i == 1 ? '=' : '|', value);
    }
}

s_ecItems *unknownName(const char *name) {
    initEcItems1(&EC_invalid_cli_name, name);
    return &EC_invalid_cli_name;
}

const char *nameIn(int argc, const char *const *argv) {
    return argc > 1 && argv[1] != nullptr ? argv[1] : "";
}

} // namespace

const Command *findCommand(const char *name) {
    return findRow(name, false);
}

const Command *findOwnCommand(const char *name) {
    return findRow(name, true);
}

const char *nearestCommandName(const char *word) {
    const char *nearest = nullptr;
    size_t least = MOST_MISTAKES + 1;
    for (const Command &command : COMMANDS) {
        const size_t mistakes = command.kind == SERVICE ? least : mistakesBetween(word, command.name);
        if (mistakes < least) {
            least = mistakes;
            nearest = command.name;
        }
    }
    return nearest;
}

const Command *findServiceCommand(const char *name) {
    const Command *command = findCommand(name);
    return command != nullptr && command->kind == SERVICE ? command : nullptr;
}

void printOwnCommands() {
    bool headed = false;
    for (const Command &command : COMMANDS) {
        if (command.kind == OWN) {
            if (!headed) {
                puts("\nCommands with options of their own:");
                headed = true;
            }
            puts(command.name);
        }
    }
}

void printCommandTable() {
    for (const Command &command : COMMANDS) {
        printf("%s %s %s", command.name, kindName(command.kind), command.changes_host ? "changes" : "reads");
        for (int i = 0; i < command.parameters.count; ++i) {
            printParameter(command.parameters.list[i]);
        }
        putchar('\n');
    }
}

} // namespace dravik

constexpr char CLI_NAMES[19][CLI_NAME_SIZE] = {
    "aggregation", "config",   "delalias", "delete",        "lsalias", "lspathpolicy", "query", "restart",
    "scan",        "setalias", "setstate", "setpathpolicy", "start",   "status",       "stop",  "version",
    "port",        "devstats", ""};

namespace {

// Whether `CLI_NAMES` holds the listed rows' names, in their order, and an empty row behind them.
constexpr bool namesAreThoseOfTheTable() {
    size_t row = 0;
    for (const dravik::Command &command : dravik::COMMANDS) {
        if (command.kind == dravik::CommandKind::LISTED &&
            command.name != std::string_view(CLI_NAMES[row++])) {
            return false;
        }
    }
    return row + 1 == std::size(CLI_NAMES) && CLI_NAMES[row][0] == '\0';
}
static_assert(namesAreThoseOfTheTable());

} // namespace

s_ecItems *checkCliNames(const char *name) {
    const char *given = name == nullptr ? "" : name;
    const dravik::Command *command = dravik::findCommand(given);
    const bool accepted = command != nullptr && command->kind != dravik::CommandKind::SERVICE;
    return accepted ? &EC_ok : dravik::unknownName(given);
}

void print_cli_list() {
    for (const dravik::Command &command : dravik::COMMANDS) {
        if (command.kind == dravik::CommandKind::LISTED) {
            puts(command.name);
        }
    }
}

s_ecItems *checkCliParams(int argc, const char *const *argv) {
    const dravik::Command *command = dravik::findCommand(dravik::nameIn(argc, argv));
    return command == nullptr ? dravik::checkNoParams(argc, argv) : command->check_parameters(argc, argv);
}

s_ecItems *exeCli(int argc, const char *const *argv) {
    const char *name = dravik::nameIn(argc, argv);
    const dravik::Command *command = dravik::findCommand(name);
    return command == nullptr ? dravik::unknownName(name) : command->run(argc);
}
