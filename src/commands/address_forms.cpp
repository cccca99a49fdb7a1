// Telling addresses by their form. No regular expressions: they would be asked at each word of tens of megabytes.
#include "commands/address_forms.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>

namespace dravik {

namespace {

bool isHex(char c) {
    return isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAt(std::string_view text, size_t place, char c) {
    return place < text.size() && text[place] == c;
}

bool isHexAt(std::string_view text, size_t place) {
    return place < text.size() && isHex(text[place]);
}

bool endsWord(std::string_view text, size_t place) {
    return place >= text.size() || !isWordByte(text[place]) || partitionLength(text, place) > 0;
}

std::string inSmallLetters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), smallLetter);
    return small;
}

bool beginsWith(std::string_view text, size_t place, std::string_view word) {
    return text.size() - place >= word.size() && inSmallLetters(text.substr(place, word.size())) == word;
}

// 3600b5d60001a2b3c0000000000000001, 0x20d0000b5d6a1010, x20d0000b5d6a1010
AddressForm hexAt(std::string_view text, size_t place) {
    size_t begin = place;
    bool is_wwid = false;
    for (const std::string_view head : {"0x", "x", "eui.", "naa."}) {
        if (beginsWith(text, place, head)) {
            begin += head.size();
            is_wwid = head == "eui.";
        }
    }
    size_t end = begin;
    while (isHexAt(text, end)) {
        ++end;
    }
    size_t digits = end - begin;
    if ((digits == 17 || digits == 33) && text[begin] == '3') {
        ++begin;
        --digits;
        is_wwid = true;
    }
    if ((digits != 16 && digits != 32) || !endsWord(text, end)) {
        return {};
    }
    return {end - place, digits == 32 || is_wwid ? AddressKind::WWID : AddressKind::WWPN,
            "hex:" + inSmallLetters(text.substr(begin, digits))};
}

// 20:d0:00:0b:5d:6a:10:10, 00-1b-21-ab-cd-ef
AddressForm pairsAt(std::string_view text, size_t place) {
    std::string digits;
    size_t end = place;
    const char separator = isAt(text, place + 2, '-') ? '-' : ':';
    constexpr size_t MORE_THAN_A_WWPN = 18; // digits: then it is none, however many follow
    while (digits.size() < MORE_THAN_A_WWPN && isHexAt(text, end) && isHexAt(text, end + 1)) {
        digits += inSmallLetters(text.substr(end, 2));
        end += 2;
        if (!isAt(text, end, separator) || !isHexAt(text, end + 1)) {
            break;
        }
        ++end;
    }
    const bool is_wwpn = digits.size() == 16 && separator == ':';
    if ((!is_wwpn && digits.size() != 12) || end - place != digits.size() / 2 * 3 - 1 ||
        !endsWord(text, end)) {
        return {};
    }
    return {end - place, is_wwpn ? AddressKind::WWPN : AddressKind::MAC, "hex:" + digits};
}

// 001b.21ab.cdef
AddressForm foursAt(std::string_view text, size_t place) {
    constexpr size_t LENGTH = 14;
    std::string digits;
    for (size_t i = place; i < place + LENGTH; ++i) {
        const bool is_dot = (i - place) % 5 == 4;
        if (is_dot ? !isAt(text, i, '.') : !isHexAt(text, i)) {
            return {};
        }
        digits += is_dot ? "" : inSmallLetters(text.substr(i, 1));
    }
    const size_t end = place + LENGTH;
    if (!endsWord(text, end) || (isAt(text, end, '.') && isHexAt(text, end + 1))) {
        return {};
    }
    return {LENGTH, AddressKind::MAC, "hex:" + digits};
}

AddressForm ipv4At(std::string_view text, size_t place) {
    if (!isDigit(text[place]) || (place > 0 && text[place - 1] == '.')) {
        return {};
    }
    size_t end = place;
    while (end < text.size() && end - place < INET_ADDRSTRLEN && (isDigit(text[end]) || text[end] == '.')) {
        ++end;
    }
    while (end > place && text[end - 1] == '.') {
        --end;
    }
    const std::string word(text.substr(place, end - place));
    in_addr address = {};
    if (!endsWord(text, end) || inet_pton(AF_INET, word.c_str(), &address) != 1) {
        return {};
    }
    return {word.size(), AddressKind::IP, "ip:" + word};
}

// The canonical form of an IPv6 address, "" for a word that is none.
std::string canonicalIpv6(const std::string &word) {
    in6_addr address = {};
    char made[INET6_ADDRSTRLEN] = "";
    if (std::count(word.begin(), word.end(), ':') < 2 || word.find_first_not_of(':') == std::string::npos ||
        inet_pton(AF_INET6, word.c_str(), &address) != 1) {
        return "";
    }
    inet_ntop(AF_INET6, &address, made, sizeof(made));
    return made;
}

// Whether the colon before `place` may belong to the same address: before it are at most four hexadecimal digits.
bool isInsideColons(std::string_view text, size_t place) {
    constexpr size_t MOST_DIGITS = 4;
    if (place == 0 || text[place - 1] != ':') {
        return false;
    }
    size_t digits = 0;
    while (digits <= MOST_DIGITS && digits + 1 < place && isHex(text[place - 2 - digits])) {
        ++digits;
    }
    return digits <= MOST_DIGITS && (digits + 1 >= place || !isWordByte(text[place - 2 - digits]));
}

// Whether an address with a port may begin at `place`. Behind pairs of digits with colons, more pairs are no address's
// beginning: a worldwide name or another address may begin among them.
bool mayHavePort(std::string_view text, size_t place) {
    return !isInsideColons(text, place) ||
           (isHexAt(text, place) && isHexAt(text, place + 1) && isHexAt(text, place + 2));
}

AddressForm ipv6At(std::string_view text, size_t place) {
    constexpr size_t LONGEST = INET6_ADDRSTRLEN + 6; // with a port
    constexpr size_t SHORTEST_IPV6 = 3;              // ::1
    size_t end = place;
    while (end < text.size() && end - place < LONGEST &&
           (isHex(text[end]) || text[end] == ':' || text[end] == '.')) {
        ++end;
    }
    if (end - place < SHORTEST_IPV6 || (end < text.size() && isWordByte(text[end]))) {
        return {};
    }
    std::string word(text.substr(place, end - place));
    while (!word.empty() && (word.back() == '.' || (word.back() == ':' && canonicalIpv6(word).empty()))) {
        word.pop_back();
    }
    std::string address = word;
    if (canonicalIpv6(address).empty() && address.find(':') != std::string::npos &&
        mayHavePort(text, place)) {
        address.resize(address.rfind(':')); // what follows is a port
    }
    const std::string canonical = canonicalIpv6(address);
    return canonical.empty() ? AddressForm{} : AddressForm{word.size(), AddressKind::IP, "ip:" + canonical};
}

bool isInName(std::string_view text, size_t place) {
    return place < text.size() &&
           (isWordByte(text[place]) || std::string_view(".-:_").find(text[place]) != std::string_view::npos);
}

size_t digitsEnd(std::string_view text, size_t place) {
    while (place < text.size() && isDigit(text[place])) {
        ++place;
    }
    return place;
}

// Whether the number of a LUN ends the word at `place`: "-lun-3", "-lun-0x4001000000000000", "-lun-3-part1".
bool isLunAt(std::string_view text, size_t place) {
    constexpr std::string_view LUN = "-lun-";
    constexpr std::string_view PART = "-part";
    constexpr size_t MOST_DIGITS = 20;
    if (text.compare(place, LUN.size(), LUN) != 0) {
        return false;
    }
    size_t begin = place + LUN.size();
    const bool is_hex = beginsWith(text, begin, "0x");
    begin += is_hex ? 2 : 0;
    size_t end = begin;
    while (end < begin + MOST_DIGITS &&
           (is_hex ? isHexAt(text, end) : end < text.size() && isDigit(text[end]))) {
        ++end;
    }
    const size_t part = end + PART.size();
    const bool has_part = text.substr(end, PART.size()) == PART && digitsEnd(text, part) > part;
    return end > begin && !isInName(text, has_part ? digitsEnd(text, part) : end);
}

AddressForm qualifiedNameAt(std::string_view text, size_t place) {
    const bool is_iqn = beginsWith(text, place, "iqn.");
    if (!is_iqn && !beginsWith(text, place, "nqn.")) {
        return {};
    }
    constexpr size_t LONGEST = 223;
    size_t end = place;
    while (end - place < LONGEST && isInName(text, end) && !isLunAt(text, end)) {
        ++end;
    }
    std::string_view name = text.substr(place, end - place);
    while (!isWordByte(name.back())) {
        name.remove_suffix(1);
    }
    return {name.size(), is_iqn ? AddressKind::IQN : AddressKind::NQN, inSmallLetters(name)};
}

} // namespace

bool isWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || isalnum(byte) != 0;
}

char smallLetter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

size_t partitionLength(std::string_view text, size_t place) {
    size_t end = place;
    if (isAt(text, place, 'p')) {
        ++end;
    } else if (place == 0 || isDigit(text[place - 1])) {
        return 0; // behind a digit, more of them are another name
    }
    const size_t digits = end;
    while (end < text.size() && isDigit(text[end])) {
        ++end;
    }
    const bool is_end = end >= text.size() || !isWordByte(text[end]);
    return end > digits && is_end ? end - place : 0;
}

AddressForm addressAt(std::string_view text, size_t place) {
    if (place >= text.size()) {
        return {};
    }
    const char first = smallLetter(text[place]);
    if (!isHex(first) && first != ':' && first != 'i' && first != 'n' && first != 'x') {
        return {};
    }
    for (const auto form : {hexAt, pairsAt, foursAt, ipv4At, ipv6At, qualifiedNameAt}) {
        AddressForm found = form(text, place);
        if (found.length > 0) {
            return found;
        }
    }
    return {};
}

} // namespace dravik
