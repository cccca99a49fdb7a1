// Addresses by their form: what is one, where it ends, and what other forms it has.
#include "commands/address_forms.h"

#include <gtest/gtest.h>

#include "tests/support/processor_time.h"

using namespace dravik;

namespace {

constexpr char DIGITS_32[] = "600b5d60001a2b3c0000000000000001";
constexpr char DIGITS_16[] = "20d0000b5d6a1010";

// "wwid hex:600b... | the text that belongs to it"; "none" where no address begins.
std::string at(const std::string &text, size_t place = 0) {
    constexpr const char *KINDS[] = {"wwid", "wwpn", "ip", "mac", "iqn", "nqn"};
    const AddressForm form = addressAt(text, place);
    return form.length == 0 ? "none"
                            : std::string(KINDS[static_cast<size_t>(form.kind)]) + " " + form.canonical +
                                  " | " + text.substr(place, form.length);
}

std::string wwid(const std::string &text, const std::string &digits = DIGITS_32) {
    return "wwid hex:" + digits + " | " + text;
}

std::string wwpn(const std::string &text) {
    return std::string("wwpn hex:") + DIGITS_16 + " | " + text;
}

std::string ip(const std::string &canonical, const std::string &text) {
    return "ip ip:" + canonical + " | " + text;
}

} // namespace

TEST(AddressForms, AWwidIs32HexadecimalDigitsInEachOfItsForms) {
    for (const char *head : {"", "3", "0x", "x", "eui.", "naa.", "EUI.", "0X", "NAA."}) {
        EXPECT_EQ(at(std::string(head) + DIGITS_32), wwid(std::string(head) + DIGITS_32));
    }
    EXPECT_EQ(at("3600B5D60001A2B3C0000000000000001"), wwid("3600B5D60001A2B3C0000000000000001"));
    EXPECT_EQ(at("320d0000b5d6a1010"), wwid("320d0000b5d6a1010", DIGITS_16));
    EXPECT_EQ(at("eui.20d0000b5d6a1010"), wwid("eui.20d0000b5d6a1010", DIGITS_16));
}

TEST(AddressForms, AWwpnIs16HexadecimalDigitsOrEightPairsOfThemWithColons) {
    for (const char *text :
         {"20d0000b5d6a1010", "0x20d0000b5d6a1010", "20D0000B5D6A1010", "0X20d0000b5d6a1010",
          "x20d0000b5d6a1010", "20:d0:00:0b:5d:6a:10:10", "20:D0:00:0B:5D:6A:10:10"}) {
        EXPECT_EQ(at(text), wwpn(text));
    }
}

TEST(AddressForms, OtherCountsOfDigitsAreNoWorldwideName) {
    const std::string digits = DIGITS_32;
    for (size_t count = 1; count <= 36; ++count) {
        const std::string text = (digits + digits).substr(0, count); // begins with 6, not with 3
        EXPECT_EQ(at(text) == "none", count != 16 && count != 32) << count;
    }
    for (const char *text :
         {"4600b5d60001a2b3c0000000000000001", "0x", "eui.", "naa.", "eui.20d0", "3", "20:d0:00:0b:5d:6a:10",
          "20:d0:00:0b:5d", "20-d0-00-0b-5d-6a-10-10", "g0d0000b5d6a1010"}) {
        EXPECT_EQ(at(text), "none") << text;
    }
}

TEST(AddressForms, AMacIsSixPairsOfHexadecimalDigitsWithColonsOrDashesOrThreeFoursWithDots) {
    EXPECT_EQ(at("00:1B:21:ab:cd:ef"), "mac hex:001b21abcdef | 00:1B:21:ab:cd:ef");
    EXPECT_EQ(at("00:1b:21:ab:cd:ef, up"), "mac hex:001b21abcdef | 00:1b:21:ab:cd:ef");
    EXPECT_EQ(at("00:1b:21:ab:cd:ef: up"), "mac hex:001b21abcdef | 00:1b:21:ab:cd:ef");
    EXPECT_EQ(at("00-1B-21-ab-cd-ef"), "mac hex:001b21abcdef | 00-1B-21-ab-cd-ef");
    EXPECT_EQ(at("001b.21AB.cdef"), "mac hex:001b21abcdef | 001b.21AB.cdef");
    EXPECT_EQ(at("001b.21ab.cdef."), "mac hex:001b21abcdef | 001b.21ab.cdef");
    for (const char *text : {"00-1b-21-ab-cd", "00-1b:21-ab-cd-ef", "00-1b-21-ab-cd-ef-01", "001b.21ab",
                             "001b.21ab.cdef.0123", "001b.21ab.cde", "001b-21ab-cdef"}) {
        EXPECT_EQ(at(text), "none") << text;
    }
    EXPECT_EQ(at("00:1b:21:ab:cd:eg"), "none");
    EXPECT_EQ(at("001b21abcdef"), "none");
}

TEST(AddressForms, IPv4HasFourNumbersOf255AtMost) {
    EXPECT_EQ(at("10.20.30.40"), ip("10.20.30.40", "10.20.30.40"));
    EXPECT_EQ(at("255.255.255.255"), ip("255.255.255.255", "255.255.255.255"));
    EXPECT_EQ(at("0.0.0.0"), ip("0.0.0.0", "0.0.0.0"));
    for (const char *text : {"10.20.30", "10.20.30.256", "10.20.30.40.50", "10.20..40", "1234.1.1.1",
                             "10.20.30.40x", ".10.20.30.40"}) {
        EXPECT_EQ(at(text), "none") << text;
    }
    EXPECT_EQ(at("9.10.20.30.40", 2), "none"); // the end of a longer number of a version
}

TEST(AddressForms, WhatStandsBehindAnIPv4DoesNotBelongToIt) {
    for (const char *rest : {":3260", "/24", ".", "...", ",1", ")", " 1", "\n", "-lun-0", "_x"}) {
        EXPECT_EQ(at(std::string("10.20.30.40") + rest), ip("10.20.30.40", "10.20.30.40")) << rest;
    }
}

TEST(AddressForms, IPv6HasOneCanonicalFormWithoutItsPort) {
    for (const char *text : {"2001:db8::1", "2001:0DB8:0:0:0:0:0:1", "2001:db8:0::0:1"}) {
        EXPECT_EQ(at(text), ip("2001:db8::1", text));
    }
    EXPECT_EQ(at("::1"), ip("::1", "::1"));
    EXPECT_EQ(at("fe80::"), ip("fe80::", "fe80::"));
    EXPECT_EQ(at("::ffff:10.1.2.3"), ip("::ffff:10.1.2.3", "::ffff:10.1.2.3"));
    EXPECT_EQ(at("2001:db8:1:2:3:4:5:6:3260"), ip("2001:db8:1:2:3:4:5:6", "2001:db8:1:2:3:4:5:6:3260"));
    EXPECT_EQ(at("[2001:db8::1]:3260", 1), ip("2001:db8::1", "2001:db8::1"));
    EXPECT_EQ(at("2001:db8::1, 7"), ip("2001:db8::1", "2001:db8::1"));
    EXPECT_EQ(at("2001:db8::1."), ip("2001:db8::1", "2001:db8::1"));
    EXPECT_EQ(at("2001:db8::1: up"), ip("2001:db8::1", "2001:db8::1"));
}

TEST(AddressForms, AnAddressMayBeginBehindAColon) {
    EXPECT_EQ(at("addr:10.1.2.3", 5), ip("10.1.2.3", "10.1.2.3"));
    EXPECT_EQ(at("port:20:d0:00:0b:5d:6a:10:10", 5), wwpn("20:d0:00:0b:5d:6a:10:10"));
    EXPECT_EQ(at("addr:2001:db8::1", 5), ip("2001:db8::1", "2001:db8::1"));
    EXPECT_EQ(at("07:31:2001:db8:0:0:0:0:0:5", 0), "none");
    EXPECT_EQ(at("07:31:2001:db8:0:0:0:0:0:5", 3), "none");
    EXPECT_EQ(at("07:31:2001:db8:0:0:0:0:0:5", 6), ip("2001:db8::5", "2001:db8:0:0:0:0:0:5"));
    EXPECT_EQ(at("07:31:2001:db8:0:0:0:0:0:5:3260", 6), ip("2001:db8::5", "2001:db8:0:0:0:0:0:5:3260"));
    EXPECT_EQ(at("07:31:20:d0:00:0b:5d:6a:10:10", 3), "none");
    EXPECT_EQ(at("07:31:20:d0:00:0b:5d:6a:10:10", 6), wwpn("20:d0:00:0b:5d:6a:10:10"));
}

TEST(AddressForms, ScsiAddressesTimesAndColonsAloneAreNoIPv6) {
    for (const char *text :
         {"1:0:0:1", "8:16", "03:12:41", "::", ":", ":::", "a:b", "2001:db8::1::2", "12345::1", "1::g"}) {
        EXPECT_EQ(at(text), "none") << text;
    }
}

TEST(AddressForms, QualifiedNamesGoUpToTheirLunAndEndInAWord) {
    EXPECT_EQ(at("iqn.2004-01.com.korvel:array1.node_2"),
              "iqn iqn.2004-01.com.korvel:array1.node_2 | iqn.2004-01.com.korvel:array1.node_2");
    EXPECT_EQ(at("IQN.2004-01.com.Korvel:A"), "iqn iqn.2004-01.com.korvel:a | IQN.2004-01.com.Korvel:A");
    EXPECT_EQ(at("iqn.2004-01.com.korvel:a-lun-3"),
              "iqn iqn.2004-01.com.korvel:a | iqn.2004-01.com.korvel:a");
    EXPECT_EQ(at("nqn.2014-08.org.nvmexpress:uuid:1b2c, live"),
              "nqn nqn.2014-08.org.nvmexpress:uuid:1b2c | nqn.2014-08.org.nvmexpress:uuid:1b2c");
    for (const char *rest : {".", "-", ":", ".:-", ",t,0x1", " x", "]", "\""}) {
        EXPECT_EQ(at(std::string("iqn.2004-01.com.korvel:a") + rest),
                  "iqn iqn.2004-01.com.korvel:a | iqn.2004-01.com.korvel:a")
            << rest;
    }
    for (const char *text : {"iqn", "iqn2004-01.com", "nqnx.y", "name", "n", "i"}) {
        EXPECT_EQ(at(text), "none") << text;
    }
}

TEST(AddressForms, AQualifiedNamesLunIsTheLastThingOfItsWord) {
    const std::string name = "iqn.2004-01.com.korvel:a";
    for (const char *lun : {"-lun-1", "-lun-255", "-lun-0x4001000000000000", "-lun-1-part2"}) {
        EXPECT_EQ(at(name + lun), "iqn " + name + " | " + name) << lun;
        EXPECT_EQ(at(name + "-lun-payroll" + lun), "iqn " + name + "-lun-payroll | " + name + "-lun-payroll")
            << lun;
    }
    for (const char *rest :
         {"-lun-payroll", "-lun-1x", "-lun-1-x", "-lun-1.x", "-lun-1-part2x", "-lun", "-lun-0x"}) {
        EXPECT_EQ(at(name + rest), "iqn " + name + rest + " | " + name + rest) << rest;
    }
    EXPECT_EQ(at(name + "-lun-"), "iqn " + name + "-lun | " + name + "-lun");
}

TEST(AddressForms, AQualifiedNameHas223BytesAtMost) {
    const std::string longest = "iqn." + std::string(219, 'a');
    EXPECT_EQ(at(longest), "iqn " + longest + " | " + longest);
    EXPECT_EQ(at(longest + "a"), "iqn " + longest + " | " + longest);
}

TEST(AddressForms, AnAddressEndsWhereItsWordEnds) {
    const std::string name = std::string("3") + DIGITS_32;
    for (const char *rest : {" ", ",", ")", "-part1", "_1", "\n", "p1", "p12"}) {
        EXPECT_EQ(at(name + rest), wwid(name)) << rest;
    }
    for (const char *rest : {"g", "p", "px", "p1x", "z1", "\xc3\xa9", "0"}) {
        EXPECT_EQ(at(name + rest), "none") << rest;
    }
}

TEST(AddressForms, NothingBeginsAtTheEndOfATextOrBehindIt) {
    EXPECT_EQ(addressAt("", 0).length, 0U);
    EXPECT_EQ(addressAt("10.1.2.3", 8).length, 0U);
    EXPECT_EQ(addressAt("10.1.2.3", 99).length, 0U);
    EXPECT_EQ(addressAt(std::string_view("10.1.2.34", 8), 0).length, 8U); // no byte behind the text counts
    EXPECT_EQ(addressAt(std::string_view("20d0000b5d6a10101", 16), 0).length, 16U);
}

TEST(AddressForms, AWordIsLettersDigitsAndBytesBeyondAscii) {
    std::string bytes;
    for (int byte = 0; byte < 128; ++byte) {
        bytes += isWordByte(static_cast<char>(byte)) ? std::string(1, static_cast<char>(byte)) : "";
    }
    EXPECT_EQ(bytes, "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    for (int byte = 128; byte < 256; ++byte) {
        EXPECT_TRUE(isWordByte(static_cast<char>(byte))) << byte;
    }
}

TEST(AddressForms, OnlyTheCapitalLettersOfAsciiBecomeSmall) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        EXPECT_EQ(smallLetter(c), byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : c) << byte;
    }
}

TEST(AddressForms, TheNumberOfAPartitionEndsTheWordAndStandsBehindANameOrAP) {
    EXPECT_EQ(partitionLength("mpatha1", 6), 1U);
    EXPECT_EQ(partitionLength("mpatha12 x", 6), 2U);
    EXPECT_EQ(partitionLength("mpathap1", 6), 2U);
    EXPECT_EQ(partitionLength("vol1p12", 4), 3U);
    EXPECT_EQ(partitionLength("vol12", 4), 0U); // behind a digit it is another name
    EXPECT_EQ(partitionLength("mpatha1x", 6), 0U);
    EXPECT_EQ(partitionLength("mpathap", 6), 0U);
    EXPECT_EQ(partitionLength("mpathapp1", 6), 0U);
    EXPECT_EQ(partitionLength("mpatha", 6), 0U);
    EXPECT_EQ(partitionLength("1", 0), 0U);
    EXPECT_EQ(partitionLength("", 0), 0U);
}

TEST(AddressForms, NoPlaceCostsMoreThanTheAddressThatMayStandThere) {
    // Asked at every place where a word begins, of texts as a hostile log could hold them.
    constexpr size_t TIMES = 6000;
    for (const char *piece : {"20:", "1.1.", "::", "iqn.a-lun-"}) {
        const size_t length = std::string(piece).size();
        std::string text;
        for (size_t i = 0; i < TIMES; ++i) {
            text += piece;
        }
        const double took = processorSeconds([&] {
            for (size_t i = 0; i < TIMES; ++i) {
                EXPECT_LE(addressAt(text, i * length).length, 223U);
            }
        });
        EXPECT_LT(took, 0.4) << piece;
    }
}
