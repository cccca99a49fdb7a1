// Which names are learnt from which text: what a text that holds them all has become.
#include "commands/report_secrets.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001";

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
    EXPECT_EQ(after(learnHost, "db1", "db1 db1.site.example"), "host-1 host-1.site.example");
    EXPECT_EQ(after(learnHost, "", "db1"), "db1");
}

TEST_F(ReportSecrets, ALogNamesAliasesWwidsVirtualDisksAndUsersByTheWordBeforeThem) {
    const std::vector<std::pair<const char *, const char *>> lines = {
        {"[t] path_alias: first, state", "[t] path_alias: alias-1, state"},
        {"[t] [path_alias: first]", "[t] [path_alias: alias-1]"},
        {"[t] wwid: odd_wwid, state", "[t] wwid: wwid-1, state"},
        {"[t] path alias is changed from [one] to [two].",
         "[t] path alias is changed from [alias-1] to [alias-2]."},
        {"[t] lun wwid is changed from [w_1] to [w_2].",
         "[t] lun wwid is changed from [wwid-1] to [wwid-2]."},
        {"[t] vdisk name change from (disk one) to (disk two).",
         "[t] vdisk name change from (vdisk-1) to (vdisk-2)."},
        {"[t] dravik setalias -alias first -wwid odd_wwid",
         "[t] dravik setalias -alias alias-1 -wwid wwid-1"},
        {"[t] [dravik delalias -path_alias first]", "[t] [dravik delalias -path_alias alias-1]"},
        {"[t] audit user alice ran (login bob)", "[t] audit user user-1 ran (login user-2)"},
        {"dravik-monitor: user carol did", "dravik-monitor: user user-1 did"},
        {"[t] audit user root ran", "[t] audit user root ran"},
        {"[t] nothing named first", "[t] nothing named first"},
    };
    for (const auto &line : lines) {
        EXPECT_EQ(after(learnLog, line.first, line.first), line.second);
        EXPECT_EQ(after(learnLog, "x\n" + std::string(line.first) + "\nstate", line.first), line.second);
    }
}

TEST_F(ReportSecrets, TheKernelsOwnNamesAreNoNamesOfTheSite) {
    EXPECT_EQ(
        after(learnLog, "path_alias: dm-3\npath_alias: sdaa\npath_alias: nvme0n1\n", "dm-3 sdaa nvme0n1"),
        "dm-3 sdaa nvme0n1");
    EXPECT_EQ(after(learnLog, "path_alias: sdatabase\n", "sdatabase"), "alias-1");
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

TEST_F(ReportSecrets, TheNvmeViewNamesSerialNumbers) {
    EXPECT_EQ(after(learnSerials,
                    "nvme/nvme0 transport=tcp serial=S3X7NX0 state=live\nnvme/nvme1 serial=S3X7NX1\n",
                    "S3X7NX1 S3X7NX0 live tcp"),
              "serial-2 serial-1 live tcp");
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

TEST_F(ReportSecrets, AnAliasTooLongForTheRecordsIsFoundAsTheyCutIt) {
    const std::string alias = "abcdefghijklmnopqrstuvwxyz_01234567";
    Redactor redactor;
    for (const std::string &each : {alias}) {
        learnListing(&redactor, each + " (" + WWID + ") dm-3 KORVEL,QVX\n");
    }
    EXPECT_EQ(redactor.text(alias + " " + alias.substr(0, 31) + WWID + " " + alias.substr(0, 30)),
              "alias-1 alias-1 alias-1");
}

TEST_F(ReportSecrets, ALedgerOfOtherTablesIsAFailure) {
    Database other(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
    Redactor redactor;
    EXPECT_THROW(learnLedger(&redactor, &other), SqliteError);
}
