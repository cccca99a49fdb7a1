// Describing a result record.
#include "commands/result_json.h"

#include <string_view>

namespace dravik {

namespace {

constexpr char SUCCESS[] = "Command executed successfully.";
constexpr size_t MESSAGE_SIZE = 256; // as print_ec shows it

} // namespace

Json recordJson(const s_ecItems *record) {
    std::string_view message = SUCCESS;
    char text[MESSAGE_SIZE] = "";
    if (isFailure(record)) {
        getErrorMsg(record, text, sizeof(text));
        message = text;
        const size_t colon = message.find(": ");
        message.remove_prefix(colon == std::string_view::npos ? 0 : colon + 2);
    }
    Json json = Json::object();
    json.set("code", record->code).set("message", message);
    return json;
}

Json notRunJson(std::string_view message) {
    Json json = Json::object();
    json.set("code", Json::null()).set("message", message);
    return json;
}

} // namespace dravik
