// Replacing what names a site (hosts, volumes, ports, addresses, users) by tokens that mean nothing outside of one report.
//
//   3600b5d60001a2b3c0000000000000001   wwid-1
//   0x20d0000b5d6a1010                  wwpn-1, and the same for 20:d0:00:0b:5d:6a:10:10
//
// One value has one token, in whichever form it is written and whichever text it stands in. WWIDs, WWPNs and WWNNs, IPv4, IPv6
// and MAC addresses, IQNs and NQNs are known by their form; names must have been learnt. The cost grows in proportion to the
// text, not to the number of names.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dravik {

enum class Secret { HOST, DOMAIN_NAME, WWID, WWPN, IP, MAC, IQN, NQN, ALIAS, VDISK, USER, SERIAL };

class Redactor {
  public:
    // From now on `value` is replaced where it stands as a word of a text. Letters of host names count in either case. With
    // `same_as` it gets the token of that value, which may be another form of the same thing. Passed over: an empty value,
    // the user "root", and what is known by its form. A value of less than three characters, or of less than six that are
    // all digits, is too common a word of texts: only `token` replaces it.
    void learn(Secret kind, const std::string &value);
    void learn(Secret kind, const std::string &value, const std::string &same_as);

    // The token of a value that stands alone, in a column of a table: learnt or not. "" for an empty one, "root" for "root".
    std::string token(Secret kind, const std::string &value);

    // The token of a text that is a value which has one, else the text as `text` below gives it.
    std::string wholeText(const std::string &whole);

    // `text` with every value that has been learnt, or is known by its form, replaced. The longest value at a place counts. A
    // value ends at a character that is no letter or digit, or at the number of a partition ("mpatha1", "mpathap1").
    std::string text(std::string_view text);

  private:
    struct Known {
        std::string spelled;
        std::string token;
        bool any_case;
    };
    struct Match {
        size_t length = 0;
        std::string token;
    };

    std::string tokenOf(Secret kind, const std::string &canonical);
    void remember(const std::string &value, const std::string &token, bool any_case);
    Match knownAt(std::string_view text, size_t place);
    Match formAt(std::string_view text, size_t place);

    std::unordered_map<std::string, std::string> tokens;       // by canonical value
    std::unordered_map<int, int> counts;                       // of tokens, by kind
    std::unordered_map<std::string, std::vector<Known>> known; // by the value in small letters
    // The lengths of the known values, the largest first, by their first three characters in small letters.
    std::unordered_map<std::string, std::vector<size_t>> lengths;
    std::string key; // reused: a look-up costs no allocation
};

} // namespace dravik
