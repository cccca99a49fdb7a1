// The table of volumes: from the ledger, and from an observation of the command's own.
#include "commands/list.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class List : public LedgerOnHost {
  protected:
    std::string list(std::vector<std::string> words = {}) {
        words.insert(words.begin(), "list");
        return answer(dravik::list, words);
    }
};

const std::string HEADING = "VOLUME            SIZE  OVER   PATHS  STATE      NOTE\n";
const std::string FINE = "fine               10G  fc     2/2    ok\n";
const std::string OBSERVED_AT_0312 = R"("time":"2026-11-21T03:12:41.047Z")";

// One that was ok: sdb has failed.
SeenVolume failedVolume(const std::string &alias) {
    SeenVolume volume = okVolume(alias);
    volume.paths[0] = failed(volume.paths[0]);
    return volume;
}

// The map dm-3 of the ledger, as the multipath tool lists it: "fine" with these paths.
SeenVolume listedVolume() {
    SeenVolume volume =
        seenVolume("mpatha", {seenPath("sdb", "host1", "p1"), seenPath("sdc", "host2", "p2", "2:0:0:1")});
    volume.wwid = "360000000000000000000000000000001";
    volume.attributes.map = "dm-3";
    return volume;
}

} // namespace

TEST_F(List, HasARowForEachVolumeHowItIsReachedAndWhatIsWrongWithIt) {
    // Since when a path that was first seen failed has been so nobody knows.
    observe({degradedVolume(), okVolume(), deadVolume(), okVolume("thin")}, NOW - 60000);
    observe({degradedVolume(), okVolume(), deadVolume(), failedVolume("thin")});
    EXPECT_EQ(list(), HEADING + "worn               10G  fc     2/3    degraded   sdd faulty\n" + FINE +
                          "dead               10G  fc     0/2    none       sdi sdj faulty\n"
                          "thin               10G  fc     1/2    last path  sdb faulty since 03:12\n[0]\n");
    EXPECT_EQ(list({"--bad"}),
              HEADING + "worn               10G  fc     2/3    degraded   sdd faulty\n"
                        "dead               10G  fc     0/2    none       sdi sdj faulty\n"
                        "thin               10G  fc     1/2    last path  sdb faulty since 03:12\n[0]\n");
}

TEST_F(List, WithoutARowSaysWhy) {
    observe({});
    EXPECT_EQ(list(), "There are no volumes.\n[0]\n");
    observe({okVolume()});
    EXPECT_EQ(list({"--bad"}), "All volumes are ok.\n[0]\n");
    observe({}); // the volume is gone
    EXPECT_EQ(list(), "There are no volumes.\n[0]\n");
}

TEST_F(List, KeepsWithin80ColumnsAndShowsNoControlBytes) {
    observe({okVolume("3600b5d60001a2b3c00000000000000030000000000"), okVolume("a\x1b[2J")});
    const std::string said = list();
    EXPECT_EQ(said.find('\x1b'), std::string::npos);
    for (size_t from = 0, to = 0; (to = said.find('\n', from)) != std::string::npos; from = to + 1) {
        EXPECT_LE(to - from, 80U) << said.substr(from, to - from);
    }
}

TEST_F(List, AnOldObservationIsFollowedByOneOfItsOwnAndNothingIsWritten) {
    observe({listedVolume()}, NOW - 61000);
    kernel_files.map("dm-3", "mpatha");
    host.answer(QUERY_ALL,
                listing({"1:0:0:1 sdb 8:16 failed faulty running", "2:0:0:1 sdc 8:16 active ready running"}));
    const std::string before = host.dumps.read("dravik.db");
    EXPECT_EQ(list(), "Nothing observed since 2026-11-21 03:11:40, 61 s ago: dravik-monitor has written\n"
                      "nothing since then; is it running?\n"
                      "This is what is seen now; nothing of it is in the ledger.\n\n" +
                          HEADING +
                          "mpatha             10G         1/2    last path  sdb faulty since 03:12\n[0]\n");
    EXPECT_EQ(host.dumps.read("dravik.db"), before);
    EXPECT_EQ(host.calls, std::vector<std::string>{QUERY_ALL});
}

TEST_F(List, WhereNothingCouldBeObservedTheVolumesAreUnknownAndTheStatus1) {
    observe({okVolume()}, NOW - 61000);
    host.startNothing();
    EXPECT_EQ(list(), "Nothing observed since 2026-11-21 03:11:40, 61 s ago: dravik-monitor has written\n"
                      "nothing since then; is it running?\n"
                      "Looking now has failed: the multipath tool cannot be run\n\n" +
                          HEADING + "fine               10G  fc     2/2    unknown\n[1]\n");
}

TEST_F(List, WithoutALedgerOrWithALineThatCannotBeUnderstoodTheStatusIs1) {
    EXPECT_EQ(list(), "! dravik list: there is no ledger /dumps/dravik.db: dravik-monitor has not run on "
                      "this host yet\n[1]\n");
    observe({okVolume()});
    for (const char *seconds : {"0", "86401", "x", ""}) {
        EXPECT_EQ(list({"--watch", seconds}),
                  "! dravik list: --watch takes whole seconds, 1 to 86400, not \"" + std::string(seconds) +
                      "\"\n[1]\n");
    }
    EXPECT_EQ(list({"fine"}),
              "! dravik list: \"fine\" is one word too many; see \"dravik help list\"\n[1]\n");
    EXPECT_EQ(list({"--json", "fine"}),
              document("list", R"("error":"\"fine\" is one word too many; see \"dravik help list\"")") +
                  "! dravik list: \"fine\" is one word too many; see \"dravik help list\"\n[1]\n");
}

TEST_F(List, JsonHasTheObservationAndTheVolumesThatAreShown) {
    observe({okVolume()});
    EXPECT_EQ(list({"--bad", "--json"}),
              document("list", R"("observation":{"quality":"good","reason":null,)" + OBSERVED_AT_0312 +
                                   R"(,"age_s":0.000,"tool_ms":12,"duration_ms":31,"volumes":1,"paths":2},)"
                                   R"("volumes":[])") +
                  "[0]\n");
}
