// Building JSON.
#include "output/json.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <new>
#include <unistd.h>

#include "output/well_formed.h"

namespace dravik {

Json::Json(cJSON *made) : item(made) {
    if (made == nullptr) {
        throw std::bad_alloc();
    }
}

Json Json::object() {
    return Json(cJSON_CreateObject());
}

Json Json::array() {
    return Json(cJSON_CreateArray());
}

Json Json::null() {
    return Json(cJSON_CreateNull());
}

Json Json::text(std::string_view value) {
    return Json(cJSON_CreateString(wellFormed(value).c_str()));
}

// As raw text: cJSON keeps numbers as doubles, which lose the last digits of large ones.
Json Json::number(int64_t value) {
    return Json(cJSON_CreateRaw(std::to_string(value).c_str()));
}

Json Json::decimal(double value, int decimals) {
    if (!std::isfinite(value)) {
        return null();
    }
    char text[400];
    snprintf(text, sizeof(text), "%.*f", decimals, value);
    return Json(cJSON_CreateRaw(text));
}

Json Json::boolean(bool value) {
    return Json(cJSON_CreateBool(value ? 1 : 0));
}

Json &Json::set(const char *name, Json value) {
    if (cJSON_AddItemToObject(item.get(), name, value.item.get()) == 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.item.release()); // the tree's by now
    return *this;
}

Json &Json::add(Json value) {
    if (cJSON_AddItemToArray(item.get(), value.item.get()) == 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.item.release()); // the tree's by now
    return *this;
}

bool Json::has(const char *name) const {
    return cJSON_GetObjectItemCaseSensitive(item.get(), name) != nullptr;
}

std::string Json::line() const {
    char *printed = cJSON_PrintUnformatted(item.get());
    if (printed == nullptr) {
        throw std::bad_alloc();
    }
    std::string text = printed;
    cJSON_free(printed);
    return text;
}

std::string isoTime(int64_t milliseconds) {
    const auto seconds = static_cast<time_t>(milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0));
    tm utc = {};
    char day[64] = "";
    if (gmtime_r(&seconds, &utc) == nullptr || strftime(day, sizeof(day), "%Y-%m-%dT%H:%M:%S", &utc) == 0) {
        return "";
    }
    char text[80];
    snprintf(text, sizeof(text), "%s.%03dZ", day, static_cast<int>(milliseconds - seconds * 1000LL));
    return text;
}

Json beginDocument(const char *command) {
    char host[256] = "";
    gethostname(host, sizeof(host) - 1);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    Json document = Json::object();
    document.set("format_version", "1.0")
        .set("host", host)
        .set("time", isoTime(now.tv_sec * 1000LL + now.tv_nsec / 1000000))
        .set("command", command);
    return document;
}

} // namespace dravik
