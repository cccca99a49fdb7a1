// Building JSON.
#include "output/json.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <new>
#include <unistd.h>

namespace dravik {

namespace {

constexpr char REPLACEMENT[] = "\xef\xbf\xbd";

// How many bytes at the start of `text`, which is not empty, are one well-formed character: 0 for none.
size_t characterLength(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(i < text.size() ? text[i] : 0); };
    const auto follows = [&](size_t i) { return (byte(i) & 0xc0) == 0x80; };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first == 0 ? 0 : 1;
    }
    if (first >= 0xc2 && first <= 0xdf) {
        return follows(1) ? 2 : 0;
    }
    if (first >= 0xe0 && first <= 0xef) {
        const bool overlong = first == 0xe0 && byte(1) < 0xa0;
        const bool surrogate = first == 0xed && byte(1) >= 0xa0;
        return !overlong && !surrogate && follows(1) && follows(2) ? 3 : 0;
    }
    if (first >= 0xf0 && first <= 0xf4) {
        const bool overlong = first == 0xf0 && byte(1) < 0x90;
        const bool too_large = first == 0xf4 && byte(1) >= 0x90;
        return !overlong && !too_large && follows(1) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

} // namespace

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

std::string wellFormed(std::string_view text) {
    std::string formed;
    formed.reserve(text.size());
    while (!text.empty()) {
        const size_t length = characterLength(text);
        if (length == 0) {
            formed += REPLACEMENT;
            text.remove_prefix(1);
        } else {
            formed += text.substr(0, length);
            text.remove_prefix(length);
        }
    }
    return formed;
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
