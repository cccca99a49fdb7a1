// The parameters of the administration commands and their checks.
#include "cli/parameter_checks.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "commands/parameter_buffers.h"
#include "commands/path_selectors.h"
#include "common/character_tests.h"
#include "common/plain_word.h"
#include "common/text.h"

namespace {

constexpr const char *PATH_STATES[] = {"online", "offline"};

// The ASCII characters of a name, whatever the locale.
constexpr char LETTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr char NAME_CHARACTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
constexpr char RESERVED_ALIAS_START[] = "idisk";

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

// A letter and then letters, digits, "_", "." and "-". No regular expression, which wants memory: a name is no worse for the
// lack of it.
bool isPlainName(const char *text) {
    return strspn(text, LETTERS) > 0 && text[strspn(text, NAME_CHARACTERS)] == '\0';
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
struct Pair {
    const char *name;
    char *buffer;
    s_ecItems *(*refuse)(const Pair &pair, const char *value);
    bool given;
};

// Reads the pairs of `line`: EC_ok, or the first failure. A name that stands last lacks its value, whatever
// else may be wrong with it.
template <size_t N> s_ecItems *readPairs(const CommandLine &line, Pair (&pairs)[N]) {
    for (int i = FIRST_PARAMETER; i < line.count; i += 2) {
        const char *name = wordAt(line, i);
        Pair *known = std::find_if(std::begin(pairs), std::end(pairs),
                                   [name](const Pair &pair) { return isName(name, pair.name); });
        if (known == std::end(pairs)) {
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

s_ecItems *refuseNothing(const Pair & /*pair*/, const char * /*value*/) {
    return nullptr;
}

s_ecItems *refuseRepeated(const Pair &pair, const char * /*value*/) {
    return pair.given ? withWord(&EC_param_duped, pair.name) : nullptr;
}

s_ecItems *refuseFilled(const Pair &pair, const char * /*value*/) {
    return pair.buffer[0] != '\0' ? withWord(&EC_param_duped, pair.name) : nullptr;
}

s_ecItems *refuseUnknownState(const Pair & /*pair*/, const char *value) {
    const bool known =
        std::any_of(std::begin(PATH_STATES), std::end(PATH_STATES), [value](const char *state) {
            return tessaline_strncmp(state, value, VALUE_LENGTH) == 0;
        });
    return known ? nullptr : withWord(&EC_invalid_param_value, value);
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
    return isBeginwith(alias, RESERVED_ALIAS_START) == 1 ? &EC_set_idisk_error : &EC_ok;
}

} // namespace

const char *dravik::pathStateAt(int index) {
    return index < static_cast<int>(std::size(PATH_STATES)) ? PATH_STATES[index] : nullptr;
}

const char *dravik::baselineActionAt(int index) {
    constexpr const char *ACTIONS[] = {"show", "accept"};
    return index < static_cast<int>(std::size(ACTIONS)) ? ACTIONS[index] : nullptr;
}

const char *dravik::selectorAt(int index) {
    return gChooserDisplayVals[index][0] != '\0' ? gChooserDisplayVals[index] : nullptr;
}

// ---- the checks of the commands

s_ecItems *dravik::checkDeleteParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_idiskx;
    }
    return line.count > 3 ? &EC_parameter_number_error : takeDeviceName(line);
}

s_ecItems *dravik::checkQueryParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count > 3) {
        return &EC_parameter_number_error;
    }
    return line.count == 3 ? takeDeviceName(line) : &EC_ok;
}

// Clears the alias, which it does not take, and not the device, which it does: the dispatcher then runs on
// whatever device is in the buffer, so that one is looked at too.
s_ecItems *dravik::checkDevStatsParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    clear(gParamAliasVal);
    clear(gParamIntervalVal);
    if (line.count > 6) {
        return &EC_parameter_number_error;
    }
    Pair pairs[] = {{dravik::PATH_ALIAS.name, gParamMpathxVal, refuseRepeated, false},
                    {dravik::INTERVAL.name, gParamIntervalVal, refuseRepeated, false}};
    s_ecItems *result = readPairs(line, pairs);
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
s_ecItems *dravik::checkSetStateParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_device_path_state;
    }
    clear(gParamMpathxVal);
    clear(gParamPathVal);
    clear(gParamStateVal);
    Pair pairs[] = {{dravik::PATH_ALIAS.name, gParamMpathxVal, refuseNothing, false},
                    {dravik::DEVICE_NAME.name, gParamPathVal, refuseNothing, false},
                    {dravik::STATE.name, gParamStateVal, refuseUnknownState, false}};
    s_ecItems *result = readPairs(line, pairs);
    if (isFailure(result)) {
        return result;
    }
    if (line.count > 8) {
        return &EC_parameter_number_error;
    }
    const bool missing = line.count < 8 || gParamStateVal[0] == '\0' || gParamMpathxVal[0] == '\0';
    return missing ? &EC_miss_device_path_state : &EC_ok;
}

s_ecItems *dravik::checkSetPathPolicyParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_group_chooser;
    }
    clear(gParamGroupVal);
    clear(gParamChooserVal);
    gParamHostInterfaceType = HOST_INTERFACE_SCSI;
    for (int i = FIRST_PARAMETER; i < line.count; ++i) {
        const bool scsi = isName(wordAt(line, i), dravik::SCSI.name);
        if (scsi || isName(wordAt(line, i), dravik::NVME.name)) {
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
        if (!isName(name, dravik::CHOOSER.name)) {
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

s_ecItems *dravik::checkNoParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    return line.count >= 3 ? withWord(&EC_invalid_param, wordAt(line, FIRST_PARAMETER)) : &EC_ok;
}

s_ecItems *checkSetAliasParams(int argc, const char *const *argv) {
    const CommandLine line = {argc, argv};
    if (line.count < 3) {
        return &EC_miss_alias_wwid;
    }
    clear(gParamAliasVal);
    clear(gParamWwidVal);
    Pair pairs[] = {{dravik::WWID.name, gParamWwidVal, refuseFilled, false},
                    {dravik::ALIAS.name, gParamAliasVal, refuseFilled, false}};
    s_ecItems *result = readPairs(line, pairs);
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
    if (!isName(name, dravik::WWID.name)) {
        return withWord(&EC_invalid_param_name, name);
    }
    if (line.count < 4) {
        return withWord(&EC_miss_param_val, dravik::WWID.name);
    }
    keep(gParamWwidVal, wordAt(line, FIRST_PARAMETER + 1));
    return line.count > 4 ? &EC_parameter_number_error : &EC_ok;
}

// ---- last checks

s_ecItems *dravik::checkWwidForShell() {
    return isPlainWwid(gParamWwidVal) ? &EC_ok : &EC_wwid_format_error;
}

s_ecItems *dravik::checkInterval() {
    if (gParamIntervalVal[0] == '\0') {
        return &EC_miss_interval;
    }
    const unsigned long long seconds = intervalSeconds();
    return seconds == 0 || seconds > MAX_STAT_INTERVAL ? &EC_interval_format_error : &EC_ok;
}

unsigned long long dravik::intervalSeconds() {
    unsigned long long seconds = 0;
    for (const char *digit = gParamIntervalVal; *digit >= '0' && *digit <= '9'; ++digit) {
        seconds = std::min(seconds * 10 + static_cast<unsigned int>(*digit - '0'), MAX_STAT_INTERVAL + 1ULL);
    }
    return seconds;
}
