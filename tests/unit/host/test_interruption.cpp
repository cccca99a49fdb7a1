// Signals that wait until the host is whole.
#include "host/interruption.h"

#include <array>
#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

struct End {
    int status;
    std::string standard_error;
};

// How a child that does this, with the usual actions for its signals, ends, and what it says.
template <typename Body> End inChild(const Body &body) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT}) {
            signal(number, SIG_DFL);
        }
        body();
        _exit(0);
    }
    close(ends[1]);
    End end = {};
    std::array<char, 256> some = {};
    for (ssize_t got = 0; (got = read(ends[0], some.data(), some.size())) > 0;) {
        end.standard_error.append(some.data(), static_cast<size_t>(got));
    }
    close(ends[0]);
    EXPECT_EQ(waitpid(child, &end.status, 0), child);
    return end;
}

bool diedOf(const End &end, int number) {
    return WIFSIGNALED(end.status) && WTERMSIG(end.status) == number;
}

bool left(const End &end, int status) {
    return WIFEXITED(end.status) && WEXITSTATUS(end.status) == status;
}

void say(int /*signal_number*/) {
    if (write(STDERR_FILENO, "the end\n", 8) < 0) {
        _exit(99);
    }
}

} // namespace

TEST(Interruption, ASignalIsOnlyNotedUntilItIsAskedFor) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        const End noted = inChild([number] {
            dravik::deferEndingSignals(say);
            raise(number);
            _exit(dravik::pendingSignal());
        });
        EXPECT_TRUE(left(noted, number)) << number;
        const End ended = inChild([number] {
            dravik::deferEndingSignals(say);
            raise(number);
            dravik::endByPendingSignal();
        });
        EXPECT_TRUE(diedOf(ended, number)) << number;
        EXPECT_EQ(ended.standard_error, "") << number;
    }
}

TEST(Interruption, WithoutASignalNothingEnds) {
    EXPECT_TRUE(left(inChild([] {
                         dravik::deferEndingSignals(nullptr);
                         dravik::endByPendingSignal();
                         _exit(dravik::pendingSignal() == 0 ? 7 : 8);
                     }),
                     7));
}

TEST(Interruption, TheFirstOfSeveralSignalsEndsTheProcess) {
    EXPECT_TRUE(diedOf(inChild([] {
                           dravik::deferEndingSignals(nullptr);
                           raise(SIGHUP);
                           raise(SIGTERM);
                           raise(SIGINT);
                           dravik::endByPendingSignal();
                       }),
                       SIGHUP));
}

TEST(Interruption, ASignalThatIsIgnoredStaysIgnored) {
    EXPECT_TRUE(left(inChild([] {
                         signal(SIGHUP, SIG_IGN);
                         dravik::deferEndingSignals(nullptr);
                         raise(SIGHUP);
                         dravik::endByPendingSignal();
                         _exit(dravik::pendingSignal());
                     }),
                     0));
}

TEST(Interruption, ASecondCtrlCWithinASecondEndsItAtOnceAndSaysWhatIsLeft) {
    const End end = inChild([] {
        dravik::deferEndingSignals(say);
        dravik::setUnfinished("the paths of the map are not deleted");
        raise(SIGINT);
        raise(SIGINT);
    });
    EXPECT_TRUE(diedOf(end, SIGINT));
    EXPECT_EQ(end.standard_error,
              "\ndravik: ended at once, unfinished: the paths of the map are not deleted\nthe end\n");
}

TEST(Interruption, ASecondCtrlCAfterMoreThanASecondIsNotedAsTheFirst) {
    EXPECT_TRUE(left(inChild([] {
                         dravik::deferEndingSignals(say);
                         raise(SIGINT);
                         usleep(1010 * 1000);
                         raise(SIGINT);
                         _exit(dravik::pendingSignal());
                     }),
                     SIGINT));
}

TEST(Interruption, SigquitEndsTheProcessAtOnce) {
    const End end = inChild([] {
        dravik::deferEndingSignals(say);
        raise(SIGQUIT);
    });
    EXPECT_TRUE(diedOf(end, SIGQUIT));
    EXPECT_EQ(end.standard_error, "\ndravik: ended at once\nthe end\n");
}

TEST(Interruption, WithoutASuddenEndNothingIsCalled) {
    const End end = inChild([] {
        dravik::deferEndingSignals(say);
        dravik::setSuddenEnd(nullptr);
        raise(SIGQUIT);
    });
    EXPECT_TRUE(diedOf(end, SIGQUIT));
    EXPECT_EQ(end.standard_error, "\ndravik: ended at once\n");
}

TEST(Interruption, RestoredSignalsActAsUsual) {
    EXPECT_TRUE(diedOf(inChild([] {
                           dravik::deferEndingSignals(say);
                           dravik::restoreEndingSignals();
                           raise(SIGTERM);
                       }),
                       SIGTERM));
}

namespace {

// How often a step is run during whose first `disturbed` runs a signal comes.
int runsOfAStep(int disturbed) {
    int runs = 0;
    return dravik::finishStep([&] {
        if (runs < disturbed) {
            raise(SIGTERM);
        }
        return ++runs;
    });
}

} // namespace

TEST(Interruption, AStepIsRunOnceMoreForEachSignalThatCameMeanwhileAndFiveTimesAtMost) {
    EXPECT_TRUE(left(inChild([] {
                         dravik::deferEndingSignals(nullptr);
                         const bool right = runsOfAStep(0) == 1 && runsOfAStep(1) == 2 && // the first signal
                                            runsOfAStep(0) == 1 && runsOfAStep(1) == 2 && // a later one
                                            runsOfAStep(2) == 3 && runsOfAStep(9) == 5;
                         _exit(right ? 0 : 1);
                     }),
                     0));
}
