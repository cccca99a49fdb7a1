// The parameters of the administration commands and their checks.
//
// Parameters are name/value pairs behind the command name; only `delete` and `query` take a positional device
// name. A check runs before its command and leaves the values in commands/parameter_buffers.h; it returns at its first
// failure, buffers filled before it keeping their values. Nothing is printed or logged. `argv` holds the program name,
// the command name and the parameters, `argc` counts them all; a null element counts as an empty text.
#pragma once

#include "common/result.h"

namespace dravik {

// ---- what a command takes

struct Parameter {
    const char *name; // "" for a positional one
    const char
        *value; // what is expected as its value, in capitals; "" where it takes none or only certain ones
    // The values that it takes, from index 0 on, null behind the last; null where any of a kind will do.
    const char *(*value_at)(int index);
};

struct Parameters {
    const Parameter *list;
    int count;
};

// "online", "offline"; the product's names of the path selectors.
const char *pathStateAt(int index);
const char *selectorAt(int index);

constexpr Parameter WWID = {"-wwid", "WWID", nullptr};
constexpr Parameter ALIAS = {"-alias", "ALIAS", nullptr};
constexpr Parameter PATH_ALIAS = {"-path_alias", "DEVICE", nullptr};
constexpr Parameter DEVICE_NAME = {"-device_name", "PATH", nullptr};
constexpr Parameter STATE = {"-state", "", pathStateAt};
constexpr Parameter INTERVAL = {"-interval", "SECONDS", nullptr};
constexpr Parameter SCSI = {"-scsi", "", nullptr};
constexpr Parameter NVME = {"-nvme", "", nullptr};
constexpr Parameter CHOOSER = {"-chooser", "", selectorAt};

inline constexpr Parameter DELALIAS_LIST[] = {WWID};
inline constexpr Parameter DEVICE_LIST[] = {{"", "DEVICE", nullptr}};
inline constexpr Parameter DEVSTATS_LIST[] = {PATH_ALIAS, INTERVAL};
inline constexpr Parameter SETALIAS_LIST[] = {WWID, ALIAS};
inline constexpr Parameter SETSTATE_LIST[] = {PATH_ALIAS, DEVICE_NAME, STATE};
inline constexpr Parameter SETPATHPOLICY_LIST[] = {SCSI, NVME, CHOOSER};

// Of the commands of our own, which read their words themselves (commands/own_options.h).
const char *baselineActionAt(int index);

constexpr Parameter JSON = {"--json", "", nullptr};

inline constexpr Parameter CHECK_LIST[] = {{"", "VOLUME", nullptr}, JSON};
inline constexpr Parameter LIST_LIST[] = {{"--bad", "", nullptr}, {"--watch", "SECONDS", nullptr}, JSON};
inline constexpr Parameter EVENTS_LIST[] = {{"--since", "TIME", nullptr},
                                            {"--volume", "VOLUME", nullptr},
                                            {"--path", "PATH", nullptr},
                                            {"--incident", "N", nullptr},
                                            {"--all", "", nullptr},
                                            {"--follow", "", nullptr},
                                            JSON};
inline constexpr Parameter BASELINE_LIST[] = {{"", "", baselineActionAt}, {"", "VOLUME", nullptr}, JSON};
inline constexpr Parameter METRICS_LIST[] = {{"--textfile", "FILE", nullptr},
                                             {"--volumes-only", "", nullptr}};
inline constexpr Parameter EXPLAIN_LIST[] = {{"", "WORDS", nullptr}, {"--list", "", nullptr}, JSON};

constexpr Parameters CHECK_PARAMETERS = {CHECK_LIST, 2};
constexpr Parameters LIST_PARAMETERS = {LIST_LIST, 3};
constexpr Parameters EVENTS_PARAMETERS = {EVENTS_LIST, 7};
constexpr Parameters BASELINE_PARAMETERS = {BASELINE_LIST, 3};
constexpr Parameters METRICS_PARAMETERS = {METRICS_LIST, 2};
constexpr Parameters EXPLAIN_PARAMETERS = {EXPLAIN_LIST, 3};

constexpr Parameters NO_PARAMETERS = {nullptr, 0};
constexpr Parameters DELALIAS_PARAMETERS = {DELALIAS_LIST, 1};
constexpr Parameters DEVICE_PARAMETER = {DEVICE_LIST, 1};
constexpr Parameters DEVSTATS_PARAMETERS = {DEVSTATS_LIST, 2};
constexpr Parameters SETALIAS_PARAMETERS = {SETALIAS_LIST, 2};
constexpr Parameters SETSTATE_PARAMETERS = {SETSTATE_LIST, 3};
constexpr Parameters SETPATHPOLICY_PARAMETERS = {SETPATHPOLICY_LIST, 3};

// ---- the checks

// (d) EC_devicename_format_error    (l) EC_devicename_length_error, past 60 characters
// (p) EC_invalid_param_name [name], EC_miss_param_val [name]

// "delete DEVICE": EC_ok, EC_miss_idiskx, EC_parameter_number_error, (d), (l).
s_ecItems *checkDeleteParams(int argc, const char *const *argv);

// "query [DEVICE]": EC_ok, EC_parameter_number_error, (d), (l).
s_ecItems *checkQueryParams(int argc, const char *const *argv);

// "devstats -path_alias DEVICE -interval SECONDS", each of them optional here: EC_ok, (p), (d), EC_param_duped [name],
// EC_parameter_number_error, EC_interval_format_error.
s_ecItems *checkDevStatsParams(int argc, const char *const *argv);

// "setstate -path_alias DEVICE -device_name PATH -state online|offline": EC_ok, (p), EC_miss_device_path_state,
// EC_parameter_number_error, EC_invalid_param_value [value].
s_ecItems *checkSetStateParams(int argc, const char *const *argv);

// "setpathpolicy [-scsi|-nvme] -chooser POLICY": EC_ok, (p), EC_miss_group_chooser, EC_need_fisrt_set_scsi,
// EC_need_fisrt_set_nvme, EC_param_duped [value], EC_invalid_param_value [value], EC_parameter_number_error.
s_ecItems *checkSetPathPolicyParams(int argc, const char *const *argv);

// A command that takes none: EC_ok, EC_invalid_param [first parameter].
s_ecItems *checkNoParams(int argc, const char *const *argv);

// ---- last checks, of the values in the buffers

// A WWID that a shell may see, gParamWwidVal: its parameter check takes any. EC_ok, EC_wwid_format_error.
s_ecItems *checkWwidForShell();

// An interval that alarm(2) takes, gParamIntervalVal: EC_ok; EC_miss_interval when it is empty;
// EC_interval_format_error when it is 0 or above MAX_STAT_INTERVAL.
s_ecItems *checkInterval();

// The longest interval in seconds that alarm(2) takes.
constexpr unsigned int MAX_STAT_INTERVAL = 4294967295;

// The interval in gParamIntervalVal in seconds, digits up to the first other character; MAX_STAT_INTERVAL + 1 for
// any larger number.
unsigned long long intervalSeconds();

} // namespace dravik

// "setalias -wwid WWID -alias ALIAS". A WWID is "3" and 32 lower-case hexadecimal digits (an NAA identifier as
// the kernel's tools write it) or "eui." and 32 of them; an alias is the WWID itself or a name that does not
// begin with the reserved "idisk".
// EC_ok, EC_miss_alias_wwid, EC_miss_wwid, EC_miss_alias, EC_parameter_number_error, EC_wwid_length_error,
// EC_wwid_format_error, EC_upper_letter_error, EC_alias_length_error (past 60 characters),
// EC_alias_format_error, EC_alias_wwid_error, EC_set_idisk_error; EC_invalid_param_name, EC_miss_param_val and
// EC_param_duped with the name.
s_ecItems *checkSetAliasParams(int argc, const char *const *argv);

// "delalias -wwid WWID". The form of the WWID is not looked at here, but by `checkWwidForShell`.
// EC_ok, EC_miss_wwid, EC_parameter_number_error; EC_invalid_param_name and EC_miss_param_val with the name.
s_ecItems *checkDelAliasParams(int argc, const char *const *argv);
