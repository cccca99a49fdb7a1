// Replacing what names a site (hosts, volumes, ports, addresses, users) by tokens that mean nothing outside of one report.
//
//   3600b5d60001a2b3c0000000000000001   wwid-1
//   0x20d0000b5d6a1010                  wwpn-1, and the same for 20:d0:00:0b:5d:6a:10:10
//
// One value has one token, in whichever form it is written and whichever text it stands in. WWIDs, WWPNs and WWNNs, IPv4, IPv6
// and MAC addresses, IQNs and NQNs are known by their form; names must have been learnt. The cost grows in proportion to the
// text, not to the number of names.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace dravik {

enum class Secret { HOST, DOMAIN_NAME, WWID, WWPN, IP, MAC, IQN, NQN, ALIAS, VDISK, USER, SERIAL, MAP };

// The time for learning or replacing is over.
class RedactionOverrun {};

class Redactor {
  public:
    // From now on `value` is replaced where it stands as a word of a text. Letters of host and domain names count in either
    // case. With `same_as` it gets the token of that value, which may be another form of the same thing. Passed over: an
    // empty value, the user and the map "root", and what is known by its form. A value of less than three characters, or of
    // less than six that are all digits, is too common a word of texts: only `token` replaces it. Of a value of more than 256
    // bytes the first 256 count: where they stand, the rest of the line goes with them.
    void learn(Secret kind, const std::string &value);
    void learn(Secret kind, const std::string &value, const std::string &same_as);

    // A device of the kernel's: as an alias, this word stays in texts. Learnt as anything else it is replaced.
    void keep(const std::string &device);

    // The token of a value that stands alone, in a column of a table: learnt or not. "" for an empty one, "root" for "root".
    std::string token(Secret kind, const std::string &value);

    // The token of a text that is a value which has one, else the text as `text` below gives it.
    std::string wholeText(const std::string &whole);

    // `text` with every value that has been learnt, or is known by its form, replaced. The longest value at a place counts. A
    // value begins behind a character that is no letter or digit, or behind an escaped byte ("\x09", also the sequence that
    // sets a terminal's colour), and ends before such a character, or at the number of a partition ("mpatha1", "mpathap1").
    // What stands behind the name of a host as ".label" is its domain. Of a text of more than 64 KiB it asks `checkTime`
    // every so often.
    std::string text(std::string_view text);

    // From now on there are so many seconds for what asks `checkTime`, which throws RedactionOverrun behind them, and
    // ReportInterrupted when a signal wants to end the process.
    void limitTime(unsigned int seconds);
    void checkTime() const;

  private:
    using Clock = std::chrono::steady_clock;
    struct Known {
        std::string token;
        Secret kind;
        bool is_cut; // the rest of the line belongs to it
    };
    struct Match {
        size_t length = 0;
        std::string token;
    };

    std::string tokenOf(Secret kind, const std::string &canonical);
    void remember(Secret kind, const std::string &value, const std::string &token);
    const Known *knownWord(std::string_view word);
    const Known *endingAt(std::string_view text, size_t place, size_t length);
    Match knownAt(std::string_view text, size_t place);
    Match withDomain(std::string_view text, size_t place, Match host);
    Match formAt(std::string_view text, size_t place);
    Match longestAt(std::string_view text, size_t place);

    std::unordered_map<std::string, std::string> tokens; // by canonical value
    std::unordered_map<int, int> counts;                 // of tokens, by kind
    std::unordered_map<std::string, Known> known;        // as they are spelled
    std::unordered_map<std::string, Known> hosts;        // hosts and domains, in small letters
    std::unordered_set<std::string> devices;             // which stay
    // The lengths of the known values, the smallest first, by their first three characters in small letters.
    std::unordered_map<std::string, std::vector<size_t>> lengths;
    std::unordered_set<uint64_t> hashes; // of the known values in small letters
    std::string key;                     // reused: a look-up costs no allocation
    Clock::time_point deadline = Clock::time_point::max();
};

} // namespace dravik
