// The result records and their text.
#include "common/result.h"

#include <cstdio>
#include <cstring>

#include "common/log.h"
#include "common/text.h"
#include "common/visible_text.h"

#define EC_DEFINE(code, name, message) s_ecItems name = {code, message, {"", "", ""}};
EC_RECORDS(EC_DEFINE)
#undef EC_DEFINE

s_ecItems EC_info_ok = {};

namespace {

constexpr size_t MESSAGE_SIZE = 256;
constexpr size_t ITEM_LENGTH = 64; // characters of an argument that are kept

void setItem(s_ecItems *record, int index, const char *text) {
    tessaline_strncpy(record->items[index], text == nullptr ? "" : text, ITEM_LENGTH);
}

} // namespace

bool isFailure(const s_ecItems *record) {
    return record != nullptr && record->code != 0;
}

void getErrorMsg(const s_ecItems *record, char *out, unsigned int size) {
    if (record == nullptr || out == nullptr || size == 0) {
        return;
    }
    char prefix[20] = "";
    snprintf(prefix, sizeof(prefix), "Error(%04d): ", record->code);
    char message[MESSAGE_SIZE] = "";
    snprintf(message, sizeof(message), record->message, record->items[0], record->items[1], record->items[2]);
    snprintf(out, size, "%s%s", prefix, message);
}

void print_ec(const s_ecItems *record) {
    print__();
    if (isFailure(record)) {
        char text[MESSAGE_SIZE] = "";
        getErrorMsg(record, text, sizeof(text));
        puts(dravik::VisibleText(text).text());
    } else {
        puts("Command executed successfully.");
    }
    print__();
}

void initEcItems1(s_ecItems *record, const char *text) {
    initEcItems2(record, text, "");
}

void initEcItems2(s_ecItems *record, const char *text1, const char *text2) {
    memset(record->items, 0, sizeof(record->items));
    setItem(record, 0, text1);
    setItem(record, 1, text2);
}
