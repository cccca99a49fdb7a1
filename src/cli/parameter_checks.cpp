// The parameters of the administration commands and their checks.
#include "cli/parameter_checks.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "commands/parameter_buffers.h"
#include "commands/path_selectors.h"
#include "common/character_tests.h"
#include "common/text.h"
#include "common/text_split.h"

namespace {

constexpr const char *PATH_STATES[] = {"online", "offline"};

constexpr char NAME_PATTERN[] = "^[A-Za-z][A-Za-z0-9_.-]*$";
constexpr char RESERVED_ALIAS_PATTERN[] = "^idisk.*$";

constexpr size_t NAME_LENGTH = 64;   // over how many characters names and keywords are compared
constexpr size_t VALUE_LENGTH = 256; // the same for the rows of a table; what is kept of a value
constexpr size_t MAX_DEVICE_NAME_LENGTH = 60;
constexpr size_t MAX_ALIAS_LENGTH = 60;
constexpr size_t SCSI_WWID_LENGTH = 33; // "3" and 32 digits
constexpr size_t NVME_WWID_LENGTH = 36; // "eui." and 32 digits

constexpr int FIRST_PARAMETER = 2; // behind the program and the command

// One command line; elements past its end and null elements read as empty texts.
struct CommandLine {
    int count;
    const char *const *words;
};

const char *wordAt(const CommandLine &line, int index) {
    return index < line.count && line.words[index] != nullptr ? line.words[index] : "";
}

bool isName(const char *word, const char *name) {
    return tessaline_strncmp(word, name, NAME_LENGTH) == 0;
}

void keep(char *buffer, const char *value) {
    tessaline_strncpy(buffer, value, VALUE_LENGTH);
}

void clear(char *buffer) {
    memset(buffer, 0, PARAM_SIZE);
}

s_ecItems *withWord(s_ecItems *record, const char *word) {
    initEcItems1(record, word);
    return record;
}

// ---- device names

bool isWwidShaped(const char *text) {
    const size_t length = safe_strlen(text);
    return (isBeginwith(text, "3") == 1 && length == SCSI_WWID_LENGTH && isDigitorOrLetter(text + 1)) ||
           (isBeginwith(text, "eui.") == 1 && length == NVME_WWID_LENGTH && isDigitorOrLetter(text + 4));
}

bool isPlainName(const char *text) {
    return regMatch(NAME_PATTERN, text) == 1;
}

s_ecItems *checkDeviceName(const char *name) {
    return isWwidShaped(name) || isPlainName(name) ? &EC_ok : &EC_devicename_format_error;
}

// The positional device name of `delete` and `query`.
s_ecItems *takeDeviceName(const CommandLine &line) {
    const char *name = wordAt(line, FIRST_PARAMETER);
    keep(gParamMpathxVal, name);
    return safe_strlen(name) > MAX_DEVICE_NAME_LENGTH ? &EC_devicename_length_error
                                                      : checkDeviceName(gParamMpathxVal);
}

// ---- pairs

// One parameter that takes a value. `refuse` is asked before the value is kept and answers null to let it in.
struct Parameter {
    const char *name;
    char *buffer;
    s_ecItems *(*refuse)(const Parameter &parameter, const char *value);
    bool given;
};

// Reads the pairs of `line`: EC_ok, or the first failure. A name that stands last lacks its value, whatever
// else may be wrong with it.
template <size_t N> s_ecItems *readPairs(const CommandLine &line, Parameter (&parameters)[N]) {
    for (int i = FIRST_PARAMETER; i < line.count; i += 2) {
        const char *name = wordAt(line, i);
        Parameter *known = std::find_if(std::begin(parameters), std::end(parameters),
                                        [name](const Parameter &p) { return isName(name, p.name); });
        if (known == std::end(parameters)) {
            return withWord(&EC_invalid_param_name, name);
        }
        if (i + 1 >= line.count) {
            return withWord(&EC_miss_param_val, name);
        }
        const char *value = wordAt(line, i + 1);
        s_ecItems *refused = known->refuse(*known, value);
        if (refused != nullptr) {
            return refused;
        }
        known->given = true;
        keep(known->buffer, value);
    }
    return &EC_ok;
}

s_ecItems *refuseNothing(const Parameter & /*parameter*/, const char * /*value*/) {
    return nullptr;
}

s_ecItems *refuseRepeated(const Parameter &parameter, const char * /*value*/) {
    return parameter.given ? withWord(&EC_param_duped, parameter.name) : nullptr;
}

s_ecItems *refuseFilled(const Parameter &parameter, const char * /*value*/) {
    return parameter.buffer[0] != '\0' ? withWord(&EC_param_duped, parameter.name) : nullptr;
}

s_ecItems *refuseUnknownState(const Parameter & /*parameter*/, const char *value) {
    const bool known =
        std::any_of(std::begin(PATH_STATES), std::end(PATH_STATES), [value](const char *state) {
            return tessaline_strncmp(state, value, VALUE_LENGTH) == 0;
        });
    return known ? nullptr : withWord(&EC_invalid_param_value, value);
}

// ---- the commands

s_ecItems *checkDelete(const CommandLine &line) {
    if (line.count < 3) {
        return &EC_miss_idiskx;
    }
    return line.count > 3 ? &EC_parameter_number_error : takeDeviceName(line);
}

s_ecItems *checkQuery(const CommandLine &line) {
    if (line.count > 3) {
        return &EC_parameter_number_error;
    }
    return line.count == 3 ? takeDeviceName(line) : &EC_ok;
}

// Clears the alias, which it does not take, and not the device, which it does: the dispatcher then runs on
// whatever device is in the buffer, so that one is looked at too.
s_ecItems *checkDevStats(const CommandLine &line) {
    clear(gParamAliasVal);
    clear(gParamIntervalVal);
    if (line.count > 6) {
        return &EC_parameter_number_error;
    }
    Parameter parameters[] = {{"-path_alias", gParamMpathxVal, refuseRepeated, false},
                              {"-interval", gParamIntervalVal, refuseRepeated, false}};
    s_ecItems *result = readPairs(line, parameters);
    if (isFailure(result)) {
        return result;
    }
    if (!isDigit(gParamIntervalVal)) {
        return &EC_interval_format_error;
    }
    return gParamMpathxVal[0] == '\0' ? &EC_ok : checkDeviceName(gParamMpathxVal);
}

// A repeated parameter is not told from a fresh one: with a repetition in place of "-device_name" the handler
// gets an empty path.
s_ecItems *checkSetState(const CommandLine &line) {
    if (line.count < 3) {
        return &EC_miss_device_path_state;
    }
    clear(gParamMpathxVal);
    clear(gParamPathVal);
    clear(gParamStateVal);
    Parameter parameters[] = {{"-path_alias", gParamMpathxVal, refuseNothing, false},
                              {"-device_name", gParamPathVal, refuseNothing, false},
                              {"-state", gParamStateVal, refuseUnknownState, false}};
    s_ecItems *result = readPairs(line, parameters);
    if (isFailure(result)) {
        return result;
    }
    if (line.count > 8) {
        return &EC_parameter_number_error;
    }
    const bool missing = line.count < 8 || gParamStateVal[0] == '\0' || gParamMpathxVal[0] == '\0';
    return missing ? &EC_miss_device_path_state : &EC_ok;
}

// Takes the policy that a user typed and stores the kernel's selector for it.
s_ecItems *takeChooser(const char *value) {
    keep(gParamGroupVal, "multibus");
    if (gParamChooserVal[0] != '\0') {
        return withWord(&EC_param_duped, value);
    }
    const char *selector = dravik::findPathSelector(dravik::SelectorName::SHOWN, value).stored;
    if (selector[0] == '\0') {
        return withWord(&EC_invalid_param_value, value);
    }
    keep(gParamChooserVal, selector);
    return &EC_ok;
}

s_ecItems *checkSetPathPolicy(const CommandLine &line) {
    if (line.count < 3) {
        return &EC_miss_group_chooser;
    }
    clear(gParamGroupVal);
    clear(gParamChooserVal);
    gParamHostInterfaceType = HOST_INTERFACE_SCSI;
    for (int i = FIRST_PARAMETER; i < line.count; ++i) {
        const bool scsi = isName(wordAt(line, i), "-scsi");
        if (scsi || isName(wordAt(line, i), "-nvme")) {
            gParamHostInterfaceType = scsi ? HOST_INTERFACE_SCSI : HOST_INTERFACE_NVME;
            ++i;
            if (line.count < 4) {
                return &EC_miss_group_chooser;
            }
            if (i >= line.count) {
                return scsi ? &EC_need_fisrt_set_scsi : &EC_need_fisrt_set_nvme;
            }
        }
        const char *name = wordAt(line, i);
        if (!isName(name, "-chooser")) {
            return withWord(&EC_invalid_param_name, name);
        }
        ++i;
        if (i >= line.count) {
            return withWord(&EC_miss_param_val, name);
        }
        s_ecItems *result = takeChooser(wordAt(line, i));
        if (isFailure(result)) {
            return result;
        }
    }
    return line.count >= 8 ? &EC_parameter_number_error : &EC_ok;
}

s_ecItems *checkNoParams(const CommandLine &line) {
    return line.count >= 3 ? withWord(&EC_invalid_param, wordAt(line, FIRST_PARAMETER)) : &EC_ok;
}

// ---- aliases

// `digits` stands behind the prefix of a WWID.
s_ecItems *checkWwidDigits(const char *digits) {
    if (!isDigitorOrLetter(digits) || !isHex(digits)) {
        return &EC_wwid_format_error;
    }
    return isUpperLetter(digits) ? &EC_upper_letter_error : &EC_ok;
}

s_ecItems *checkWwid(const char *wwid) {
    if (isBeginwith(wwid, "3") == 1) {
        return safe_strlen(wwid) != SCSI_WWID_LENGTH ? &EC_wwid_length_error : checkWwidDigits(wwid + 1);
    }
    if (isBeginwith(wwid, "eui.") != 1) {
        return &EC_wwid_format_error;
    }
    return safe_strlen(wwid) != NVME_WWID_LENGTH ? &EC_wwid_length_error : checkWwidDigits(wwid + 4);
}

s_ecItems *checkAlias(const char *alias, const char *wwid) {
    if (safe_strlen(alias) > MAX_ALIAS_LENGTH) {
        return &EC_alias_length_error;
    }
    if (isWwidShaped(alias)) {
        return tessaline_strncmp(alias, wwid, VALUE_LENGTH) == 0 ? &EC_ok : &EC_alias_wwid_error;
    }
    if (!isPlainName(alias)) {
        return &EC_alias_format_error;
    }
    return regMatch(RESERVED_ALIAS_PATTERN, alias) == 1 ? &EC_set_idisk_error : &EC_ok;
}

// ---- which rules a command follows

struct CommandRules {
    const char *name;
    s_ecItems *(*check)(const CommandLine &line);
};

constexpr CommandRules COMMAND_RULES[] = {
    {"delete", checkDelete},
    {"query", checkQuery},
    {"devstats", checkDevStats},
    {"setstate", checkSetState},
    {"setpathpolicy", checkSetPathPolicy},
};

} // namespace

s_ecItems *checkCliParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    const char *command = wordAt(line, 1);
    if (isName(command, "delalias")) {
        return checkDelAliasParams(argc, argv);
    }
    if (isName(command, "setalias")) {
        return checkSetAliasParams(argc, argv);
    }
    for (const CommandRules &rules : COMMAND_RULES) {
        if (isName(command, rules.name)) {
            return rules.check(line);
        }
    }
    return checkNoParams(line);
}

s_ecItems *checkSetAliasParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_alias_wwid;
    }
    clear(gParamAliasVal);
    clear(gParamWwidVal);
    Parameter parameters[] = {{"-wwid", gParamWwidVal, refuseFilled, false},
                              {"-alias", gParamAliasVal, refuseFilled, false}};
    s_ecItems *result = readPairs(line, parameters);
    if (isFailure(result)) {
        return result;
    }
    if (gParamWwidVal[0] == '\0') {
        return &EC_miss_wwid;
    }
    if (gParamAliasVal[0] == '\0') {
        return &EC_miss_alias;
    }
    if (line.count > 6) {
        return &EC_parameter_number_error;
    }
    result = checkWwid(gParamWwidVal);
    return isFailure(result) ? result : checkAlias(gParamAliasVal, gParamWwidVal);
}

s_ecItems *checkDelAliasParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_wwid;
    }
    clear(gParamWwidVal);
    const char *name = wordAt(line, FIRST_PARAMETER);
    if (!isName(name, "-wwid")) {
        return withWord(&EC_invalid_param_name, name);
    }
    if (line.count < 4) {
        return withWord(&EC_miss_param_val, "-wwid");
    }
    keep(gParamWwidVal, wordAt(line, FIRST_PARAMETER + 1));
    return line.count > 4 ? &EC_parameter_number_error : &EC_ok;
}
