// Finding names and addresses in one pass over a text.
#include "commands/report_redaction.h"

#include <algorithm>

#include "commands/address_forms.h"
#include "commands/escaped_bytes.h"
#include "commands/report_folder.h"

namespace dravik {

namespace {

constexpr size_t PREFIX = 3;
constexpr size_t FEW_DIGITS = 6;
constexpr size_t LONGEST = 256; // so many bytes are looked at where a value may begin

const char *kindWord(Secret kind) {
    constexpr const char *WORDS[] = {"host", "domain", "wwid",  "wwpn", "ip",     "mac", "iqn",
                                     "nqn",  "alias",  "vdisk", "user", "serial", "map"};
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
    return value.empty() || ((kind == Secret::USER || kind == Secret::MAP) && value == "root");
}

bool isOfHosts(Secret kind) {
    return kind == Secret::HOST || kind == Secret::DOMAIN_NAME;
}

// Of the characters so far in small letters, so that each further length costs its further characters alone (FNV-1a).
struct Hash {
    uint64_t value = 0xcbf29ce484222325;
    void add(char c) {
        constexpr uint64_t PRIME = 0x100000001b3;
        value = (value ^ static_cast<unsigned char>(smallLetter(c))) * PRIME;
    }
};

// The end of the word at `place`, or of the one character there that belongs to none.
size_t wordEnd(std::string_view text, size_t place) {
    size_t end = place + 1;
    while (isWordByte(text[place]) && end < text.size() && isWordByte(text[end])) {
        ++end;
    }
    return end;
}

// The length of the labels at `place`, each with the dot before it; 0 where none of them has a letter.
size_t domainLength(std::string_view text, size_t place) {
    size_t end = place;
    bool has_letter = false;
    while (end + 1 < text.size() && text[end] == '.' && isWordByte(text[end + 1])) {
        for (++end; end < text.size() && (isWordByte(text[end]) || text[end] == '-'); ++end) {
            has_letter = has_letter || text[end] < '0' || text[end] > '9';
        }
    }
    while (text[end - 1] == '-') {
        --end;
    }
    return has_letter ? end - place : 0;
}

} // namespace

std::string Redactor::tokenOf(Secret kind, const std::string &canonical) {
    std::string &token = tokens[canonical];
    if (token.empty()) {
        token = std::string(kindWord(kind)) + "-" + std::to_string(++counts[static_cast<int>(kind)]);
    }
    return token;
}

void Redactor::remember(Secret kind, const std::string &value, const std::string &token) {
    const std::string spelled = value.substr(0, LONGEST);
    const std::string small = inSmallLetters(spelled);
    Known &word = isOfHosts(kind) ? hosts.try_emplace(small, Known{token, kind, false}).first->second
                                  : known.try_emplace(spelled, Known{token, kind, false}).first->second;
    word.kind = word.kind == Secret::ALIAS ? kind : word.kind; // an alias alone may be kept
    word.is_cut = word.is_cut || value.size() > LONGEST;
    Hash hash;
    std::for_each(small.begin(), small.end(), [&hash](char c) { hash.add(c); });
    hashes.insert(hash.value);
    std::vector<size_t> &of_prefix = lengths[small.substr(0, PREFIX)];
    const auto place = std::lower_bound(of_prefix.begin(), of_prefix.end(), spelled.size());
    if (place == of_prefix.end() || *place != spelled.size()) {
        of_prefix.insert(place, spelled.size());
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
        remember(kind, value, given);
    }
}

void Redactor::keep(const std::string &device) {
    devices.insert(device);
}

std::string Redactor::token(Secret kind, const std::string &value) {
    if (isNobody(kind, value)) {
        return value;
    }
    const Match form = formAt(value, 0);
    if (form.length == value.size()) {
        return form.token;
    }
    const Known *learnt = knownWord(std::string_view(value).substr(0, LONGEST));
    if (learnt != nullptr && (learnt->is_cut || value.size() <= LONGEST)) {
        return learnt->token; // perhaps as another form of the same thing
    }
    return tokenOf(kind, isOfHosts(kind) ? inSmallLetters(value) : value);
}

const Redactor::Known *Redactor::knownWord(std::string_view word) {
    key.assign(word);
    const auto found = known.find(key);
    std::transform(key.begin(), key.end(), key.begin(), smallLetter);
    const auto host = hosts.find(key);
    if (host != hosts.end()) {
        return &host->second;
    }
    return found == known.end() ? nullptr : &found->second;
}

Redactor::Match Redactor::knownAt(std::string_view text, size_t place) {
    if (text.size() - place < PREFIX) {
        return {};
    }
    key.assign(text.substr(place, PREFIX));
    std::transform(key.begin(), key.end(), key.begin(), smallLetter);
    const auto of_prefix = lengths.find(key);
    if (of_prefix == lengths.end()) {
        return {};
    }
    const Known *longest = nullptr;
    size_t taken = 0;
    Hash hash;
    size_t hashed = 0;
    for (const size_t length : of_prefix->second) {
        if (length > text.size() - place) {
            break;
        }
        for (; hashed < length; ++hashed) {
            hash.add(text[place + hashed]);
        }
        const Known *word = hashes.count(hash.value) == 0 ? nullptr : endingAt(text, place, length);
        longest = word == nullptr ? longest : word;
        taken = word == nullptr ? taken : length;
    }
    if (longest == nullptr) {
        return {};
    }
    taken = longest->is_cut ? std::min(text.find('\n', place + taken), text.size()) - place : taken;
    return longest->kind == Secret::HOST ? withDomain(text, place, {taken, longest->token})
                                         : Match{taken, longest->token};
}

// The word of that length that begins at `place`, if it is known, ends there, and does not stay.
const Redactor::Known *Redactor::endingAt(std::string_view text, size_t place, size_t length) {
    const Known *word = knownWord(text.substr(place, length));
    if (word == nullptr) {
        return nullptr;
    }
    const size_t end = place + length;
    const bool ends_word = word->is_cut || isBoundary(text, end) || partitionLength(text, end) > 0;
    const bool stays =
        word->kind == Secret::ALIAS && devices.count(std::string(text.substr(place, length))) != 0;
    return ends_word && !stays ? word : nullptr;
}

// A host's name without a domain takes the labels behind it.
Redactor::Match Redactor::withDomain(std::string_view text, size_t place, Match host) {
    const size_t end = place + host.length;
    const size_t length = end < text.size() ? domainLength(text, end) : 0;
    if (length == 0 || text.substr(place, host.length).find('.') != std::string_view::npos) {
        return host;
    }
    const std::string domain(text.substr(end + 1, length - 1));
    const std::string given = tokenOf(Secret::DOMAIN_NAME, inSmallLetters(domain));
    if (domain.find('.') != std::string::npos) { // a single label may be any word
        remember(Secret::DOMAIN_NAME, domain, given);
    }
    return {host.length + length, host.token + "." + given};
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

Redactor::Match Redactor::longestAt(std::string_view text, size_t place) {
    const Match word = knownAt(text, place);
    const Match form = formAt(text, place);
    return form.length >= word.length ? form : word;
}

void Redactor::limitTime(unsigned int seconds) {
    deadline = Clock::now() + std::chrono::seconds(seconds);
}

void Redactor::checkTime() const {
    checkInterruption();
    if (Clock::now() >= deadline) {
        throw RedactionOverrun();
    }
}

std::string Redactor::text(std::string_view text) {
    constexpr size_t BETWEEN_CHECKS = 65536;
    size_t next_check = BETWEEN_CHECKS;
    std::string made;
    made.reserve(text.size());
    size_t escape_end = 0;
    for (size_t place = 0; place < text.size();) {
        if (place >= next_check) {
            checkTime();
            next_check = place + BETWEEN_CHECKS;
        }
        const bool begins_word = place == escape_end || isBoundary(text, place);
        const Match match = begins_word ? longestAt(text, place) : Match();
        made += match.token;
        place += match.length;
        size_t stays = place; // up to there
        if (match.length == 0) {
            const size_t escape = escapeLength(text, place);
            stays = escape > 0 ? place + escape : wordEnd(text, place);
            escape_end = escape > 0 ? stays : escape_end;
        } else if (!isBoundary(text, place)) { // the number of a partition: told from the token's own
            made += text[place] == 'p' ? "" : "p";
            stays = wordEnd(text, place);
        }
        made.append(text.substr(place, stays - place));
        place = stays;
    }
    return made;
}

} // namespace dravik
