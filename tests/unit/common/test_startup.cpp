// The state in which the administration tool starts, whatever its parent left behind.
#include "common/startup.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/children.h"

namespace {

bool actsAsUsual(int number) {
    struct sigaction action = {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

} // namespace

TEST(Startup, ClosedStandardDescriptorsAreOpenedOnTheNullDevice) {
    EXPECT_EQ(inChild([] {
                  const std::set<int> before = openDescriptors();
                  for (int fd = 0; fd < 3; ++fd) {
                      close(fd);
                  }
                  resetProcess();
                  struct stat null_device = {};
                  stat("/dev/null", &null_device);
                  for (int fd = 0; fd < 3; ++fd) {
                      struct stat attributes = {};
                      if (fstat(fd, &attributes) != 0 || attributes.st_rdev != null_device.st_rdev) {
                          return 1;
                      }
                  }
                  return openDescriptors() == before ? 0 : 2; // no other one is left open
              }),
              0);
}

TEST(Startup, OpenStandardDescriptorsStayAsTheyAre) {
    EXPECT_EQ(inChild([] {
                  struct stat before[3] = {};
                  for (int fd = 0; fd < 3; ++fd) {
                      fstat(fd, &before[fd]);
                  }
                  resetProcess();
                  for (int fd = 0; fd < 3; ++fd) {
                      struct stat after = {};
                      if (fstat(fd, &after) != 0 || after.st_ino != before[fd].st_ino ||
                          after.st_dev != before[fd].st_dev) {
                          return 1;
                      }
                  }
                  return 0;
              }),
              0);
}

TEST(Startup, InheritedSignalSettingsAreUndone) {
    EXPECT_EQ(inChild([] {
                  for (const int number : {SIGCHLD, SIGPIPE, SIGALRM}) {
                      signal(number, SIG_IGN);
                  }
                  sigset_t all;
                  sigfillset(&all);
                  sigprocmask(SIG_BLOCK, &all, nullptr);
                  resetProcess();
                  sigset_t now;
                  sigprocmask(SIG_SETMASK, nullptr, &now);
                  for (const int number : {SIGCHLD, SIGPIPE, SIGALRM, SIGINT, SIGTERM}) {
                      if (!actsAsUsual(number) || sigismember(&now, number) != 0) {
                          return number;
                      }
                  }
                  return 0;
              }),
              0);
}

TEST(Startup, HandlersOfTheParentProgramAreForgotten) {
    EXPECT_EQ(inChild([] {
                  for (const int number : {SIGCHLD, SIGPIPE, SIGALRM}) {
                      signal(number, [](int) {});
                  }
                  resetProcess();
                  for (const int number : {SIGCHLD, SIGPIPE, SIGALRM}) {
                      if (!actsAsUsual(number)) {
                          return number;
                      }
                  }
                  return 0;
              }),
              0);
}

TEST(Startup, ASingleClosedDescriptorIsOpenedAndTheOthersStay) {
    for (int closed = 0; closed < 3; ++closed) {
        EXPECT_EQ(inChild([closed] {
                      struct stat before[3] = {};
                      for (int fd = 0; fd < 3; ++fd) {
                          fstat(fd, &before[fd]);
                      }
                      close(closed);
                      resetProcess();
                      struct stat null_device = {};
                      stat("/dev/null", &null_device);
                      for (int fd = 0; fd < 3; ++fd) {
                          const struct stat &expected = fd == closed ? null_device : before[fd];
                          struct stat after = {};
                          if (fstat(fd, &after) != 0 || after.st_ino != expected.st_ino ||
                              after.st_dev != expected.st_dev) {
                              return 1 + fd;
                          }
                      }
                      return 0;
                  }),
                  0)
            << closed;
    }
}

TEST(Startup, HangupAndInterruptStayIgnored) {
    EXPECT_EQ(inChild([] {
                  signal(SIGHUP, SIG_IGN);
                  signal(SIGINT, SIG_IGN);
                  resetProcess();
                  return actsAsUsual(SIGHUP) || actsAsUsual(SIGINT) ? 1 : 0;
              }),
              0);
}

TEST(Startup, NewFilesAreNotWritableByOthersAndATighterMaskStays) {
    EXPECT_EQ(inChild([] {
                  umask(0);
                  resetProcess();
                  const mode_t wide = umask(0077);
                  resetProcess();
                  return wide == 0022 && umask(0) == 0077 ? 0 : 1;
              }),
              0);
}

TEST(Startup, ChildrenSpeakThePlainLocale) {
    EXPECT_EQ(inChild([] {
                  setenv("LC_ALL", "de_DE.UTF-8", 1);
                  setenv("TIME_STYLE", "full-iso", 1);
                  resetProcess();
                  return strcmp(getenv("LC_ALL"), "C") == 0 && getenv("TIME_STYLE") == nullptr ? 0 : 1;
              }),
              0);
}
