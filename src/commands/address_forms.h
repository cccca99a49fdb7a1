// Addresses and worldwide names as they stand in texts, known by their form alone.
#pragma once

#include <string>
#include <string_view>

namespace dravik {

enum class AddressKind { WWID, WWPN, IP, MAC, IQN, NQN };

struct AddressForm {
    size_t length = 0; // characters of the text, 0 for no address
    AddressKind kind = AddressKind::WWID;
    std::string canonical; // the same for every form in which this address may be written
};

// The address that begins at `place`, where a word may begin, and ends where a word ends or the number of a partition follows:
//   WWID   32 hexadecimal digits, with or without "3", "0x", "x", "eui.", "naa."; "3" or "eui." and 16
//   WWPN   16 hexadecimal digits, with or without "0x" or "x" (a WWNN is one, too); eight pairs of them with colons
//   IP     IPv4 with four numbers (RFC 791), IPv6 (RFC 4291); of IPv6 with a port behind it both are taken
//   MAC    six pairs of hexadecimal digits with colons or dashes, three fours with dots
//   IQN    "iqn.", and NQN "nqn.", with letters, digits and . - : _ , 223 characters at most (RFC 3720, NVM Express); a
//          LUN that ends the word ("-lun-3", "-lun-3-part1") does not belong to it, nor "." "-" ":" at its end
AddressForm addressAt(std::string_view text, size_t place);

// A letter, a digit, or a byte of a character beyond ASCII.
bool isWordByte(char c);

// `c`, a capital letter of ASCII as the small one.
char smallLetter(char c);

// The length of the number of a partition at `place` behind a name ("1" behind "mpatha", "p1" behind any), which ends the
// word; 0 when there is none.
size_t partitionLength(std::string_view text, size_t place);

} // namespace dravik
