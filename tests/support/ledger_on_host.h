// A host whose ledger holds what a test has observed and whose clock stands still, for the commands of our own: what they
// print, whole, and their exit status.
#pragma once

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "array/vdisk_file.h"
#include "commands/own_command.h"
#include "ledger/event_store.h"
#include "ledger/known_store.h"
#include "ledger/ledger_file.h"
#include "tests/support/fake_host.h"
#include "tests/support/kernel_folder.h"
#include "tests/support/ledger_maker.h"

class LedgerOnHost : public testing::Test {
  protected:
    static constexpr dravik::Milliseconds NOW = 1795230761047; // 2026-11-21 03:12:41.047 UTC

    LedgerOnHost() {
        setenv("TZ", "UTC", 1);
        tzset();
        host.stopClock(NOW);
        forgetVdiskTree(); // each test is a process of its own to the commands
    }
    ~LedgerOnHost() override {
        unsetenv("TZ");
        tzset();
    }

    static std::unique_ptr<dravik::Database> ledger(dravik::LedgerUse use = dravik::LedgerUse::OBSERVE) {
        dravik::LedgerOpening opening = dravik::openLedger(use);
        EXPECT_EQ(opening.status, dravik::LedgerStatus::OPEN) << opening.problem;
        return std::move(opening.database);
    }

    // The monitor's observation at that time. What is missing is gone unless `kernel` has it.
    void observe(const dravik::SeenTopology &seen, dravik::Milliseconds time = NOW) {
        const auto database = ledger();
        dravik::KnownTopology known = dravik::loadKnown(database.get());
        dravik::Observation observation = dravik::loadObservation(database.get());
        dravik::Circumstances at;
        at.time = time;
        at.boot_id = "boot-1";
        at.is_first = observation.quality == dravik::Quality::NEVER;
        at.operations = dravik::loadOperations(database.get(), observation.time, time);
        dravik::Comparison compared = dravik::compareTopologies(seen, at, kernel.kernel(), &known);
        observation = {compared.quality, compared.doubt, time, 12, 31, 0, 0, "boot-1", time};
        observation.volumes = static_cast<int64_t>(seen.size());
        for (const dravik::SeenVolume &volume : seen) {
            observation.paths += static_cast<int64_t>(volume.paths.size());
        }
        dravik::Transaction transaction(database.get());
        dravik::saveKnown(database.get(), &known, time);
        dravik::saveEvents(database.get(), &compared.events);
        dravik::saveObservation(database.get(), observation, true);
        transaction.commit();
    }
    // The monitor looks, and sees nothing for this reason.
    static void failToObserve(const std::string &reason, dravik::Milliseconds time = NOW) {
        const auto database = ledger();
        dravik::Observation observation = dravik::loadObservation(database.get());
        observation.quality = dravik::Quality::FAILED;
        observation.reason = reason;
        observation.time = time;
        dravik::saveObservation(database.get(), observation, true);
    }

    // What the command prints, "! " and what it complains of, and its exit status in a line of its own: "[0]". "--json" may
    // stand before its name.
    std::string answer(int (*command)(const dravik::OwnCall &), std::vector<std::string> words,
                       bool json_before = false) {
        std::string line = "dravik";
        std::vector<char *> argv;
        for (std::string &word : words) {
            line += " " + word;
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        const dravik::OwnAudit audit = {[] { return std::string("alice"); }, [&line] { return line; },
                                        [&] { audited.push_back("begins: " + line); },
                                        [&](const char *what) { audited.emplace_back(what); }};
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = command({static_cast<int>(words.size()), argv.data(), json_before, &audit});
        const std::string errors = testing::internal::GetCapturedStderr();
        return testing::internal::GetCapturedStdout() + (errors.empty() ? "" : "! " + errors) + "[" +
               std::to_string(status) + "]\n";
    }
    // A document of the command at NOW: the head that all have, and these members.
    static std::string document(const std::string &command, const std::string &members) {
        char name[256] = "";
        gethostname(name, sizeof(name) - 1);
        return R"({"format_version":"1.0","host":")" + std::string(name) +
               R"(","time":"2026-11-21T03:12:41.047Z","command":")" + command + R"(",)" + members + "}\n";
    }

    FakeHost host;
    KernelFolder kernel_files;
    FakeKernel kernel; // that the monitor asks
    std::vector<std::string> audited;
};

// The ledger's volumes of the tests, by how well they are reached.

inline dravik::SeenVolume okVolume(const std::string &alias = "fine") {
    return seenVolume(alias, {seenPath("sdb", "i1", "p1"), seenPath("sdc", "i2", "p2")});
}
inline dravik::SeenVolume degradedVolume(const std::string &alias = "worn") {
    return seenVolume(alias, {failed(seenPath("sdd", "i1", "p1")), seenPath("sde", "i2", "p2"),
                              seenPath("sdf", "i1", "p2")});
}
inline dravik::SeenVolume lastPathVolume(const std::string &alias = "thin") {
    return seenVolume(alias, {failed(seenPath("sdg", "i1", "p1")), seenPath("sdh", "i2", "p2")});
}
inline dravik::SeenVolume deadVolume(const std::string &alias = "dead") {
    return seenVolume(alias, {failed(seenPath("sdi", "i1", "p1")), failed(seenPath("sdj", "i2", "p2"))});
}
