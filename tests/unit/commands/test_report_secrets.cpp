// Which names are learnt from which text: what a text that holds them all has become.
#include "commands/report_secrets.h"

#include "commands/report_log_secrets.h"

#include "tests/support/ledger_on_host.h"
#include "tests/support/processor_time.h"

using namespace dravik;

namespace {

// `text` as a redactor gives it that has learnt from `from`.
std::string after(void (*learn)(Redactor *, const std::string &), const std::string &from,
                  const std::string &text) {
    Redactor redactor;
    learn(&redactor, from);
    return redactor.text(text);
}

class ReportSecrets : public LedgerOnHost {};

} // namespace

TEST_F(ReportSecrets, AHostsShortNameIsTheHostAndWhatIsBehindItsDotTheDomain) {
    EXPECT_EQ(after(learnHost, "db1.site.example", "db1 DB1.site.example x.site.example"),
              "host-1 host-1 x.domain-1");
    EXPECT_EQ(after(learnHost, "db1", "db1 db1.site.example"), "host-1 host-1.domain-1");
    EXPECT_EQ(after(learnHost, "", "db1"), "db1");
}

TEST_F(ReportSecrets, AHostThatIsNamedWithItsDomainAndWithoutHasOneToken) {
    for (const bool short_first : {true, false}) {
        Redactor redactor;
        learnHost(&redactor, short_first ? "db1" : "db1.site.example");
        learnHost(&redactor, short_first ? "db1.site.example" : "db1");
        EXPECT_EQ(redactor.text("db1 db1.site.example"), "host-1 host-1") << short_first;
        EXPECT_EQ(redactor.token(Secret::HOST, "db1"), "host-1") << short_first;
        EXPECT_EQ(redactor.token(Secret::HOST, "db1.site.example"), "host-1") << short_first;
    }
}

TEST_F(ReportSecrets, AnAliasThatIsADeviceOfThisHostStaysTheDevice) {
    Redactor redactor;
    learnLog(&redactor, "path_alias: sdb, x\npath_alias: sdpay, x\npath_alias: sdq, x\n");
    learnDevices(&redactor,
                 "sdb device=1:0:0:1 dev=8:16\nsdaa device=1:0:0:2\n\npay_roll\nsdtoolong\nsd\nsdx1 a=b\n");
    learnLog(&redactor, "path_alias: sdaa, x\npath_alias: pay_roll, x\npath_alias: sdtoolong, x\n");
    EXPECT_EQ(redactor.text("sdb sdb1 sdaa sdpay sdq pay_roll sdtoolong"),
              "sdb sdb1 sdaa alias-2 alias-3 alias-5 alias-6");
    EXPECT_EQ(redactor.token(Secret::ALIAS, "sdb"), "alias-1");
}

TEST_F(ReportSecrets, AUserCalledAsADeviceOfThisHostIsReplacedAllTheSame) {
    Redactor redactor;
    learnDevices(&redactor, "sdean device=1:0:0:1\n");
    learnLog(&redactor, "path_alias: sdean, x\n");
    EXPECT_EQ(redactor.text("sdean"), "sdean");
    learnLog(&redactor, "ran (login sdean)\n");
    EXPECT_EQ(redactor.text("sdean").substr(0, 5), "alias"); // the token of its first meaning
}

TEST_F(ReportSecrets, AConfigurationNamesAliasesAndWwidsWithQuotesOrWithout) {
    const std::string conf = "multipaths {\n"
                             "\tmultipath {\n"
                             "\t\twwid \"odd wwid\"\n"
                             "\t\talias first # the old one\n"
                             "    }\n"
                             "  alias \"second one\"\n"
                             "  alias third}\n"
                             "  alias\n"
                             "  alias_prefix fourth\n"
                             "  wwid \"other.*\"\n"
                             "  wwid plain_wwid!x\n"
                             "}\n";
    EXPECT_EQ(after(learnConfiguration, conf,
                    "odd wwid, first, second one, third, fourth, other, plain_wwid, the old one"),
              "wwid-1, alias-1, alias-2, alias-3, fourth, other, wwid-2, the old one");
}

TEST_F(ReportSecrets, AConfigurationsPatternWithTheDigitsOfAWwidIsReplacedWhole) {
    for (const char *pattern : {"3600b5d60001a2b3*", "3600b5d60001a2b3.*", "^3600b5d60001a2b3.+$",
                                "36*00b5d60001a2b3", "3600b5d60001a2b30000000000[0-9]*"}) {
        const std::string line = std::string("  wwid \"") + pattern + "\"\n";
        EXPECT_EQ(after(learnConfiguration, line, line), "  wwid \"wwid-1\"\n") << pattern;
    }
    for (const char *pattern : {"*", ".*", "^.*", "3600*", "other.*", "3600b5d.*"}) {
        const std::string line = std::string("  wwid \"") + pattern + "\"\n";
        EXPECT_EQ(after(learnConfiguration, line, line), line) << pattern;
    }
}

TEST_F(ReportSecrets, AListingNamesTheVolumeBeforeItsMap) {
    const std::string listing = "mpatha (3600b5d60001a2b3c0000000000000001) dm-3 KORVEL,QVX\n"
                                "size=10G features='0' hwhandler='0' wp=rw\n"
                                "`-+- policy='service-time 0' prio=50 status=active\n"
                                "  `- 1:0:0:1 sdb 8:16 active ready running\n"
                                "odd_wwid dm-4 KORVEL,QVX\n"
                                "second (odd_wwid_2) dm-5 KORVEL,QVX\n";
    EXPECT_EQ(
        after(learnListing, listing,
              "mpatha odd_wwid second odd_wwid_2 sdb KORVEL size active 3600b5d60001a2b3c0000000000000001"),
        "alias-1 wwid-2 alias-2 wwid-3 sdb KORVEL size active wwid-1");
}

TEST_F(ReportSecrets, AnAliasBeginsEachLineOfTheSnapshot) {
    EXPECT_EQ(after(learnSnapshot, "mpatha,x,y\nsecond,z\nno comma\n", "mpatha second x y z no comma"),
              "alias-1 alias-2 x y z no comma");
}

TEST_F(ReportSecrets, TheNameCacheNamesWwidsAndVirtualDisksAsJsonWritesThemToo) {
    const std::string cache = R"({"disk":[{"wwid":"odd_wwid","vdisk_name":"a \"b\" c"},)"
                              R"({"wwid":7,"vdisk_name":null},{"vdisk_name":"vol_2"}]})";
    EXPECT_EQ(after(learnNameCache, cache, R"([a "b" c] [a \"b\" c] odd_wwid vol_2)"),
              "[vdisk-1] [vdisk-1] wwid-1 vdisk-2");
    for (const char *damaged : {"", "{", "[]", "null", R"({"disk":7})", R"({"disk":[7,null,[]]})"}) {
        EXPECT_EQ(after(learnNameCache, damaged, "disk vol_2"), "disk vol_2") << damaged;
    }
}

TEST_F(ReportSecrets, ADamagedNameCacheStillNamesWhatStandsBehindItsWords) {
    const std::string entry = R"({"wwid": "odd_wwid", "vdisk_name" : "vol_1"},)";
    for (const std::string &cache : {R"({"disk": [)" + entry, entry,
                                     R"({"disk": [)" + entry + R"({"wwid": "x", "vdisk_na)", "\1{" + entry}) {
        EXPECT_EQ(after(learnNameCache, cache, "vol_1 odd_wwid"), "vdisk-1 wwid-1") << cache;
    }
    EXPECT_EQ(after(learnNameCache, R"({"vdisk_name": "torn one)", "torn one"), "vdisk-1");
}

TEST_F(ReportSecrets, ANameIsKnownAsTheNameCacheSpellsItToo) {
    const std::string cache = R"({"disk":[{"wwid":"w_1","vdisk_name":"K\u00f6ln \/ 1"}]})";
    EXPECT_EQ(after(learnNameCache, cache, cache + " K\xc3\xb6ln / 1"),
              R"({"disk":[{"wwid":"wwid-1","vdisk_name":"vdisk-1"}]} vdisk-1)");
}

TEST_F(ReportSecrets, TheNvmeViewNamesSerialNumbers) {
    EXPECT_EQ(after(learnSerials,
                    "nvme/nvme0 transport=tcp serial=S3X7NX0 state=live\nnvme/nvme1 serial=S3X7NX1\n",
                    "S3X7NX1 S3X7NX0 live tcp"),
              "serial-2 serial-1 live tcp");
}

TEST_F(ReportSecrets, TheKernelsMapsNameVolumesAndWhatLiesOnThem) {
    const std::string maps =
        "dm-2 name=mpatha1 uuid=part1-mpath-mpath_wwid_1 slaves=dm-0 holders=\n"
        "dm-0 dev=253:0 name=mpatha uuid=mpath-mpath_wwid_1 slaves=sdb holders=dm-1\n"
        "dm-1 name=vg_oracle-data uuid=LVM-x slaves=dm-0 holders=\n"
        "dm-3 name=luks-payroll uuid=CRYPT-LUKS2-600b5d60001a2b3c0000000000000009-luks-payroll slaves= "
        "holders=\n"
        "dm-4 name=other-part1 uuid=part1-mpath-gone slaves= holders=\n"
        "dm-5 name=root uuid=CRYPT-x slaves= holders=\n"
        "dm-6 name=bare slaves= holders=\n"
        "dm-7\n";
    EXPECT_EQ(after(learnMaps, maps, maps),
              "dm-2 name=alias-1p1 uuid=part1-mpath-wwid-1 slaves=dm-0 holders=\n"
              "dm-0 dev=253:0 name=alias-1 uuid=mpath-wwid-1 slaves=sdb holders=dm-1\n"
              "dm-1 name=map-1 uuid=LVM-x slaves=dm-0 holders=\n"
              "dm-3 name=map-2 uuid=CRYPT-LUKS2-wwid-2-map-2 slaves= holders=\n"
              "dm-4 name=map-3 uuid=part1-mpath-gone slaves= holders=\n"
              "dm-5 name=root uuid=CRYPT-x slaves= holders=\n"
              "dm-6 name=map-4 slaves= holders=\n"
              "dm-7\n");
}

TEST_F(ReportSecrets, ANameCacheIsWholeWhenItIsJsonFromItsFirstByteToItsLast) {
    for (const std::string whole :
         {"{}", "{\"disk\":[]}\n", "[]", " {\"disk\":[{\"wwid\":\"1\",\"vdisk_name\":\"a\"}]} "}) {
        EXPECT_TRUE(isWholeNameCache(whole)) << whole;
    }
    for (const std::string &damaged :
         {std::string(), std::string("{"), std::string("{\"disk\":["), std::string("{} x"),
          std::string("{}\0", 3), std::string("{}\0vol_1", 8), std::string("\x01")}) {
        EXPECT_FALSE(isWholeNameCache(damaged)) << damaged;
    }
}

TEST_F(ReportSecrets, AMegabyteOfNamesThatDoNotEndTakesWellUnderASecond) {
    std::string text;
    while (text.size() < 1200000) {
        text += "\"vdisk_name\": \"";
    }
    Redactor redactor;
    const double took = processorSeconds([&] { learnNameCache(&redactor, text); });
    EXPECT_LT(took, 2);
}

TEST_F(ReportSecrets, TheLedgerNamesEveryAliasWwidAndUserInItsTables) {
    observe({okVolume("database"), okVolume("archive")}, NOW - 20000);
    observe({okVolume("database")}, NOW - 10000); // archive is gone
    Operation done = operation("setalias", "volume_x");
    done.user = "carol";
    done.line = "dravik setalias -alias typed_one";
    const auto database = ledger();
    beginOperation(database.get(), &done);
    endOperation(database.get(), done, "boot-1", "");
    database->run("UPDATE paths SET offline_by = 'dave' WHERE name = 'sdb'");
    database->run("INSERT INTO baseline SELECT id, 'i', 'p', '1', 0, 'sdb', 1, 'erin' FROM volumes");
    Redactor redactor;
    learnLedger(&redactor, database.get());
    EXPECT_EQ(redactor.text("database archive 36database 36archive sdb"),
              "alias-1 alias-2 wwid-1 wwid-2 sdb");
    for (const char *user : {"carol", "dave", "erin"}) {
        EXPECT_EQ(redactor.text(user).substr(0, 5), "user-") << user;
    }
    for (const char *alias : {"volume_x", "typed_one"}) {
        EXPECT_EQ(redactor.text(alias).substr(0, 6), "alias-") << alias;
    }
}

TEST_F(ReportSecrets, ALedgerOfOtherTablesIsAFailure) {
    Database other(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
    Redactor redactor;
    EXPECT_THROW(learnLedger(&redactor, &other), SqliteError);
}
