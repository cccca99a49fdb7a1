// Tokens in the place of names: which, where, always the same, and at what cost.
#include "commands/report_redaction.h"

#include <gtest/gtest.h>

#include "tests/support/processor_time.h"

using namespace dravik;

TEST(ReportRedaction, EveryFormOfAnAddressHasOneTokenInEveryText) {
    Redactor redactor;
    EXPECT_EQ(redactor.text("3600b5d60001a2b3c0000000000000001 and 600B5D60001A2B3C0000000000000001"),
              "wwid-1 and wwid-1");
    EXPECT_EQ(redactor.text("0x20d0000b5d6a1010,20:d0:00:0b:5d:6a:10:10 20d0000b5d6a1011"),
              "wwpn-1,wwpn-1 wwpn-2");
    EXPECT_EQ(redactor.text("10.1.2.3:3260 2001:db8::1 2001:db8:0::1 00:1b:21:ab:cd:ef"),
              "ip-1:3260 ip-2 ip-2 mac-1");
    EXPECT_EQ(redactor.text("iqn.2004-01.com.korvel:a-lun-3 nqn.2014-08.org.nvmexpress:x"),
              "iqn-1-lun-3 nqn-1");
    EXPECT_EQ(redactor.text("naa.600b5d60001a2b3c0000000000000001 20D0000B5D6A1010 10.1.2.3"),
              "wwid-1 wwpn-1 ip-1");
}

TEST(ReportRedaction, TokensOfEachKindAreNumberedInTheOrderOfTheirValues) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "database");
    redactor.learn(Secret::USER, "alice");
    redactor.learn(Secret::ALIAS, "archive");
    redactor.learn(Secret::ALIAS, "database");
    redactor.learn(Secret::VDISK, "vol_1");
    redactor.learn(Secret::HOST, "db1");
    redactor.learn(Secret::DOMAIN_NAME, "site.example");
    redactor.learn(Secret::SERIAL, "S3X7NX0");
    EXPECT_EQ(redactor.text("archive database alice vol_1 db1 site.example S3X7NX0 archive\n"),
              "alias-2 alias-1 user-1 vdisk-1 host-1 domain-1 serial-1 alias-2\n");
}

TEST(ReportRedaction, TheSameValuesInTheSameOrderGiveTheSameTokens) {
    const auto run = [] {
        Redactor redactor;
        for (const char *name : {"database", "archive", "mail", "backup"}) {
            redactor.learn(Secret::ALIAS, name);
        }
        return redactor.text("mail 10.1.2.3 database 10.1.2.4 backup archive");
    };
    EXPECT_EQ(run(), "alias-3 ip-1 alias-1 ip-2 alias-4 alias-2");
    EXPECT_EQ(run(), run());
}

TEST(ReportRedaction, TheLongestNameAtAPlaceCountsInWhicheverOrderTheyWereLearnt) {
    for (const bool longest_first : {false, true}) {
        Redactor redactor;
        redactor.learn(Secret::ALIAS, longest_first ? "data-base-old" : "data");
        redactor.learn(Secret::ALIAS, "data-base");
        redactor.learn(Secret::ALIAS, longest_first ? "data" : "data-base-old");
        EXPECT_EQ(redactor.text("data data-base data-base-old data-base-new data-x"),
                  longest_first ? "alias-3 alias-2 alias-1 alias-2-new alias-3-x"
                                : "alias-1 alias-2 alias-3 alias-2-new alias-1-x");
    }
}

TEST(ReportRedaction, NamesInsideOtherWordsStay) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "data");
    const std::string text = "database mydata data\xc3\xa9 \xc3\xa9"
                             "data data1x datap datapx1 Data DATA";
    EXPECT_EQ(redactor.text(text), text);
    EXPECT_EQ(redactor.text("data,(data)[data]\"data\"_data_ /data/ data"),
              "alias-1,(alias-1)[alias-1]\"alias-1\"_alias-1_ /alias-1/ alias-1");
}

TEST(ReportRedaction, TheNumberOfAPartitionStaysBehindTheToken) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "mpatha");
    redactor.learn(Secret::ALIAS, "vol1");
    EXPECT_EQ(redactor.text("mpatha1 mpathap2 vol1p3 vol12 mpatha-part1"),
              "alias-1p1 alias-1p2 alias-2p3 vol12 alias-1-part1");
    EXPECT_EQ(redactor.text("3600b5d60001a2b3c0000000000000001p1"), "wwid-1p1");
}

TEST(ReportRedaction, LettersOfHostAndDomainNamesCountInEitherCaseThoseOfOthersAsTheyAre) {
    Redactor redactor;
    redactor.learn(Secret::HOST, "Db1");
    redactor.learn(Secret::DOMAIN_NAME, "Site.Example");
    redactor.learn(Secret::ALIAS, "Mail");
    redactor.learn(Secret::ALIAS, "mail");
    EXPECT_EQ(redactor.text("db1 DB1 Db1.site.EXAMPLE Mail mail MAIL"),
              "host-1 host-1 host-1.domain-1 alias-1 alias-2 MAIL");
    EXPECT_EQ(redactor.token(Secret::HOST, "DB1"), "host-1");
}

TEST(ReportRedaction, AnotherFormOfAValueGetsItsToken) {
    Redactor redactor;
    redactor.learn(Secret::HOST, "db1.site.example");
    redactor.learn(Secret::HOST, "db1", "db1.site.example");
    redactor.learn(Secret::ALIAS, "short-name", "a-name-not-learnt-yet");
    EXPECT_EQ(redactor.text("db1 db1.site.example short-name"), "host-1 host-1 alias-1");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "a-name-not-learnt-yet"), "alias-1");
    EXPECT_EQ(redactor.token(Secret::HOST, "db1"), "host-1");
}

TEST(ReportRedaction, RootAndEmptyValuesAreNobodysNames) {
    Redactor redactor;
    redactor.learn(Secret::USER, "root");
    redactor.learn(Secret::USER, "");
    redactor.learn(Secret::ALIAS, "");
    EXPECT_EQ(redactor.text("root ran it\n"), "root ran it\n");
    EXPECT_EQ(redactor.token(Secret::USER, "root"), "root");
    EXPECT_EQ(redactor.token(Secret::ALIAS, ""), "");
    EXPECT_EQ(redactor.token(Secret::USER, "alice"), "user-1");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "root"), "alias-1");
}

TEST(ReportRedaction, WordsTooCommonAreReplacedOnlyWhereTheyStandAlone) {
    Redactor redactor;
    for (const char *name : {"a", "sd", "12345"}) {
        redactor.learn(Secret::ALIAS, name);
    }
    for (const char *name : {"abc", "123456", "1234x"}) {
        redactor.learn(Secret::ALIAS, name);
    }
    EXPECT_EQ(redactor.text("a sd 12345 abc 123456 1234x"), "a sd 12345 alias-4 alias-5 alias-6");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "sd"), "alias-2");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "12345"), "alias-3");
    EXPECT_EQ(redactor.wholeText("sd"), "alias-2");
    EXPECT_EQ(redactor.wholeText("sd b"), "sd b");
}

TEST(ReportRedaction, AValueThatStandsAloneHasATokenLearntOrNot) {
    Redactor redactor;
    EXPECT_EQ(redactor.token(Secret::ALIAS, "never learnt"), "alias-1");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "never learnt"), "alias-1");
    EXPECT_EQ(redactor.token(Secret::WWID, "3600b5d60001a2b3c0000000000000001"), "wwid-1");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "3600b5d60001a2b3c0000000000000001"),
              "wwid-1"); // known by its form
    EXPECT_EQ(redactor.token(Secret::WWID, "odd wwid"), "wwid-2");
    EXPECT_EQ(redactor.text("never learnt"), "never learnt");
}

TEST(ReportRedaction, AWholeTextThatIsAValueIsItsTokenAnyOtherIsReadAsAText) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "data");
    redactor.learn(Secret::VDISK, "two words");
    EXPECT_EQ(redactor.wholeText("data"), "alias-1");
    EXPECT_EQ(redactor.wholeText("two words"), "vdisk-1");
    EXPECT_EQ(redactor.wholeText("dravik setalias data 10.1.2.3"), "dravik setalias alias-1 ip-1");
    EXPECT_EQ(redactor.wholeText(""), "");
}

TEST(ReportRedaction, AWordBeginsBehindAnEscapedControlByte) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "mpatha");
    EXPECT_EQ(
        redactor.text(R"(err\x09mpatha\x093600b5d60001a2b3c0000000000000001\x0910.1.2.3\x0ampatha1\x0a)"),
        R"(err\x09alias-1\x09wwid-1\x09ip-1\x0aalias-1p1\x0a)");
    EXPECT_EQ(redactor.text(R"(\x09\x09mpatha \x1Bmpatha \x9mpatha \xgmpatha x09mpatha)"),
              R"(\x09\x09alias-1 \x1Balias-1 \x9mpatha \xgmpatha x09mpatha)");
}

TEST(ReportRedaction, AWordBeginsBehindTheSequenceThatSetsATerminalsColours) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "mpatha");
    for (const std::string escape : {"\\x1b", "\\x1B", "\x1b"}) {
        EXPECT_EQ(redactor.text(escape + "[31mmpatha" + escape + "[0m"),
                  escape + "[31malias-1" + escape + "[0m");
        EXPECT_EQ(redactor.text(escape + "[01;31mmpatha" + escape + "[K10.1.2.3"),
                  escape + "[01;31malias-1" + escape + "[Kip-1");
        EXPECT_EQ(redactor.text(escape + "[mmpatha " + escape + "[mpatha"),
                  escape + "[malias-1 " + escape + "[alias-1");
        EXPECT_EQ(redactor.text(escape + "[31m" + escape + "[1mmpatha"),
                  escape + "[31m" + escape + "[1malias-1");
    }
    EXPECT_EQ(redactor.text("[31mmpatha"), "[31mmpatha");
}

TEST(ReportRedaction, WhatFollowsTheNameOfAHostBehindADotIsItsDomain) {
    Redactor redactor;
    redactor.learn(Secret::HOST, "simhost");
    EXPECT_EQ(
        redactor.text(
            "HN:SimHost.Corp.Example, simhost.corp.example. simhost.lan:22 simhost. simhost.. simhost.7"),
        "HN:host-1.domain-1, host-1.domain-1. host-1.domain-2:22 host-1. host-1.. host-1.7");
    EXPECT_EQ(redactor.text("x.corp.example lan"), "x.domain-1 lan"); // one label alone is a common word
}

TEST(ReportRedaction, OfAValueOfMoreThan256BytesTheFirstCountAndTheRestOfTheLineGoesWithIt) {
    Redactor redactor;
    const std::string longest(256, 'x');
    redactor.learn(Secret::ALIAS, longest + " and more");
    EXPECT_EQ(redactor.text("a " + longest + " and more\nb " + longest + "\n"), "a alias-1\nb alias-1\n");
    EXPECT_EQ(redactor.text(longest.substr(1)), longest.substr(1));
    EXPECT_EQ(redactor.token(Secret::ALIAS, longest + " and more"), "alias-1");
}

TEST(ReportRedaction, ADeviceThatIsKeptStaysAsAnAliasAloneNotAsAnythingElse) {
    Redactor redactor;
    redactor.keep("sdb");
    redactor.keep("sdc");
    redactor.learn(Secret::ALIAS, "sdb");
    redactor.learn(Secret::ALIAS, "sdc");
    redactor.learn(Secret::USER, "sdc");
    EXPECT_EQ(redactor.text("sdb sdb1 sdc"), "sdb sdb1 alias-2");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "sdb"), "alias-1");
}

TEST(ReportRedaction, AMapOfTheNameRootIsNobodys) {
    Redactor redactor;
    redactor.learn(Secret::MAP, "root");
    redactor.learn(Secret::MAP, "vg-root");
    EXPECT_EQ(redactor.text("root vg-root"), "root map-1");
}

TEST(ReportRedaction, BehindItsTimeALongTextIsNoLongerReplacedAndNoShortOneIsRefused) {
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "data");
    redactor.limitTime(0);
    EXPECT_EQ(redactor.text("data"), "alias-1");
    EXPECT_THROW(redactor.text(std::string(200000, ' ')), RedactionOverrun);
    EXPECT_THROW(redactor.checkTime(), RedactionOverrun);
    redactor.limitTime(60);
    EXPECT_EQ(redactor.text(std::string(200000, ' ')), std::string(200000, ' '));
}

TEST(ReportRedaction, NamesWithAnyCharactersAreFound) {
    Redactor redactor;
    redactor.learn(Secret::VDISK, "K\xc3\xb6ln 1");
    redactor.learn(Secret::ALIAS, "$[.*");
    redactor.learn(Secret::ALIAS, std::string(256, 'x'));
    EXPECT_EQ(redactor.text("(K\xc3\xb6ln 1) $[.* " + std::string(256, 'x') + " " + std::string(257, 'x')),
              "(vdisk-1) alias-1 alias-2 " + std::string(257, 'x'));
}

TEST(ReportRedaction, BytesOfEveryValueAndNoUtf8StayAsTheyAre) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += std::string(1, static_cast<char>(byte)) + "\n";
    }
    bytes += std::string("\xff\xfe\xc3(\x80\0\x1b[2J\r\n", 11);
    Redactor redactor;
    redactor.learn(Secret::ALIAS, "data");
    EXPECT_EQ(redactor.text(bytes + "data" + bytes), bytes + "alias-1" + bytes);
    EXPECT_EQ(redactor.text(std::string("\0data\0", 6)), std::string("\0alias-1\0", 9));
    EXPECT_EQ(redactor.text(""), "");
}

TEST(ReportRedaction, AMegabyteWith30000NamesTakesWellUnderASecond) {
    Redactor redactor;
    std::string text;
    std::string wanted;
    for (int i = 0; i < 30000; ++i) {
        const std::string name =
            "volume_of_site_" + std::to_string(100000 + i) + std::string(static_cast<size_t>(i % 40), 'x');
        redactor.learn(Secret::ALIAS, name);
        text += name + " is fine\n";
        wanted += "alias-" + std::to_string(i + 1) + " is fine\n";
    }
    ASSERT_GT(text.size(), 1000000U);
    std::string made;
    const double took = processorSeconds([&] { made = redactor.text(text); });
    EXPECT_LT(took, 2);
    EXPECT_TRUE(made == wanted);
}

TEST(ReportRedaction, NamesOfManyLengthsThatBeginAlikeCostNoMoreThanSoManyBytes) {
    Redactor redactor;
    std::string text;
    for (size_t length = 1; length <= 900; ++length) {
        redactor.learn(Secret::ALIAS, "aaa" + std::string(length, length % 2 == 0 ? 'a' : 'b'));
    }
    while (text.size() < 630000) {
        text += "aaaaaaa-aaa.";
    }
    const double took = processorSeconds([&] { redactor.text(text); });
    EXPECT_LT(took, 4);
}

TEST(ReportRedaction, TheCostGrowsInProportionToTheTextWhateverItHolds) {
    for (const std::string piece : {"20:", "1.1.", "iqn.a-lun-", "::", "aaaaaaaa", "mpatha1", "vol-", "3 "}) {
        Redactor redactor;
        redactor.learn(Secret::ALIAS, "mpatha");
        redactor.learn(Secret::ALIAS, "vol-vol-vol-x");
        std::string text;
        for (int i = 0; i < 10000; ++i) {
            text += piece;
        }
        const double took = processorSeconds([&] { redactor.text(text); });
        EXPECT_LT(took, 1) << piece;
    }
}
