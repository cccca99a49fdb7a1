// A JSON document on its way to standard output, written by cJSON.
//
// Texts are UTF-8; bytes that are none become U+FFFD, so that the output is always well-formed. Memory that runs out is
// thrown as std::bad_alloc.
#pragma once

#include <cjson/cJSON.h>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace dravik {

class Json {
  public:
    static Json object();
    static Json array();
    static Json null();
    static Json text(std::string_view value);
    static Json number(int64_t value);
    // With so many decimals at most.
    static Json decimal(double value, int decimals);
    static Json boolean(bool value);

    // Puts a member into an object, or an element behind the others of an array; the object or array itself.
    Json &set(const char *name, Json value);
    Json &add(Json value);

    Json &set(const char *name, std::string_view value) {
        return set(name, text(value));
    }
    Json &set(const char *name, const std::string &value) {
        return set(name, text(value));
    }
    Json &set(const char *name, const char *value) {
        return set(name, text(value));
    }
    Json &set(const char *name, int64_t value) {
        return set(name, number(value));
    }
    Json &set(const char *name, int value) {
        return set(name, number(value));
    }
    Json &set(const char *name, bool value) {
        return set(name, boolean(value));
    }
    // null for an empty text: what is not known.
    Json &setKnown(const char *name, std::string_view value) {
        return value.empty() ? set(name, null()) : set(name, text(value));
    }

    // Whether an object has this member.
    bool has(const char *name) const;

    // The document on one line, without a newline.
    std::string line() const;

  private:
    struct Delete {
        void operator()(cJSON *tree) const {
            cJSON_Delete(tree);
        }
    };
    explicit Json(cJSON *made);

    std::unique_ptr<cJSON, Delete> item;
};

// "2026-11-21T03:12:41.047Z" for milliseconds since 1970-01-01 UTC (ISO 8601).
std::string isoTime(int64_t milliseconds);

// A document's common head: format_version, host, time, command.
Json beginDocument(const char *command);

} // namespace dravik
