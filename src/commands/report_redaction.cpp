// Finding names and addresses in one pass over a text.
#include "commands/report_redaction.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>

#include "commands/address_forms.h"

namespace dravik {

namespace {

constexpr size_t PREFIX = 3;
constexpr size_t FEW_DIGITS = 6;

const char *kindWord(Secret kind) {
    constexpr const char *WORDS[] = {"host", "domain", "wwid",  "wwpn",  "ip",   "mac",
                                     "iqn",  "nqn",    "alias", "vdisk", "user", "serial"};
    return WORDS[static_cast<size_t>(kind)];
}

std::string inSmallLetters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), smallLetter);
    return small;
}

bool isTooCommon(const std::string &value) {
    return value.size() < PREFIX ||
           (value.size() < FEW_DIGITS && value.find_first_not_of("0123456789") == std::string::npos);
}

// Whether a word may begin, or end, between the two characters around `place`.
bool isBoundary(std::string_view text, size_t place) {
    return place == 0 || place >= text.size() || !isWordByte(text[place - 1]) || !isWordByte(text[place]);
}

bool isNobody(Secret kind, const std::string &value) {
    return value.empty() || (kind == Secret::USER && value == "root");
}

} // namespace

std::string Redactor::tokenOf(Secret kind, const std::string &canonical) {
    std::string &token = tokens[canonical];
    if (token.empty()) {
        token = std::string(kindWord(kind)) + "-" + std::to_string(++counts[static_cast<int>(kind)]);
    }
    return token;
}

void Redactor::remember(const std::string &value, const std::string &token, bool any_case) {
    const std::string small = inSmallLetters(value);
    std::vector<Known> &spellings = known[small];
    for (const Known &each : spellings) {
        if (each.spelled == value) {
            return;
        }
    }
    spellings.push_back({value, token, any_case});
    std::vector<size_t> &of_prefix = lengths[small.substr(0, PREFIX)];
    const auto place = std::lower_bound(of_prefix.begin(), of_prefix.end(), value.size(), std::greater<>());
    if (place == of_prefix.end() || *place != value.size()) {
        of_prefix.insert(place, value.size());
    }
}

void Redactor::learn(Secret kind, const std::string &value) {
    learn(kind, value, value);
}

void Redactor::learn(Secret kind, const std::string &value, const std::string &same_as) {
    if (isNobody(kind, value)) {
        return;
    }
    const std::string given = token(kind, same_as);
    if (!isTooCommon(value) && formAt(value, 0).length != value.size()) {
        remember(value, given, kind == Secret::HOST || kind == Secret::DOMAIN_NAME);
    }
}

std::string Redactor::token(Secret kind, const std::string &value) {
    if (isNobody(kind, value)) {
        return value;
    }
    const Match form = formAt(value, 0);
    if (form.length == value.size()) {
        return form.token;
    }
    const bool any_case = kind == Secret::HOST || kind == Secret::DOMAIN_NAME;
    const Match learnt = knownAt(value, 0); // perhaps as another form of the same thing
    return learnt.length == value.size() ? learnt.token
                                         : tokenOf(kind, any_case ? inSmallLetters(value) : value);
}

Redactor::Match Redactor::knownAt(std::string_view text, size_t place) {
    Match none;
    if (text.size() - place < PREFIX) {
        return none;
    }
    key.assign(text.substr(place, PREFIX));
    std::transform(key.begin(), key.end(), key.begin(), smallLetter);
    const auto of_prefix = lengths.find(key);
    if (of_prefix == lengths.end()) {
        return none;
    }
    for (const size_t length : of_prefix->second) {
        const size_t end = place + length;
        if (end > text.size()) {
            continue;
        }
        const size_t partition = isBoundary(text, end) ? 0 : partitionLength(text, end);
        if (partition == 0 && !isBoundary(text, end)) {
            continue;
        }
        const std::string_view word = text.substr(place, length);
        key.assign(word);
        std::transform(key.begin(), key.end(), key.begin(), smallLetter);
        const auto found = known.find(key);
        if (found == known.end()) {
            continue;
        }
        for (const Known &each : found->second) {
            if (each.any_case || each.spelled == word) {
                return {length, each.token};
            }
        }
    }
    return none;
}

Redactor::Match Redactor::formAt(std::string_view text, size_t place) {
    const AddressForm form = addressAt(text, place);
    if (form.length == 0) {
        return {};
    }
    static constexpr Secret KINDS[] = {Secret::WWID, Secret::WWPN, Secret::IP,
                                       Secret::MAC,  Secret::IQN,  Secret::NQN};
    return {form.length, tokenOf(KINDS[static_cast<size_t>(form.kind)], form.canonical)};
}

std::string Redactor::wholeText(const std::string &whole) {
    const auto found = tokens.find(whole);
    return found == tokens.end() ? text(whole) : found->second;
}

std::string Redactor::text(std::string_view text) {
    std::string made;
    made.reserve(text.size());
    size_t place = 0;
    while (place < text.size()) {
        Match match;
        if (isBoundary(text, place)) {
            match = knownAt(text, place);
            const Match form = formAt(text, place);
            match = form.length >= match.length ? form : match;
        }
        if (match.length > 0) {
            made += match.token;
            place += match.length;
            if (!isBoundary(text, place)) { // the number of a partition: told from the token's own
                made += text[place] == 'p' ? "" : "p";
                do {
                    made += text[place++];
                } while (place < text.size() && isWordByte(text[place]));
            }
            continue;
        }
        const bool in_word = isWordByte(text[place]);
        do {
            made += text[place++];
        } while (in_word && place < text.size() && isWordByte(text[place]));
    }
    return made;
}

} // namespace dravik
