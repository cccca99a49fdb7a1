// Whether an open file is this user's alone, and whether a path still leads to it.
#include "common/own_file.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "common/owned.h"
#include "tests/support/dumps_redirect.h"

using dravik::Descriptor;
using dravik::isOwnFile;
using dravik::isStillNamed;

namespace {

class OwnFile : public testing::Test {
  protected:
    // An open file of this name, made if it is missing.
    int file(const std::string &name) {
        owner.reset(open(dumps.path(name).c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0600));
        EXPECT_TRUE(owner.isOpen()) << name;
        return owner.get();
    }
    bool named(const std::string &name) const {
        return isStillNamed(owner.get(), dumps.path(name).c_str());
    }
    void link(const std::string &old_name, const std::string &name) const {
        ASSERT_EQ(::link(dumps.path(old_name).c_str(), dumps.path(name).c_str()), 0);
    }

    DumpsFolder dumps;
    Descriptor owner;
};

} // namespace

// ---- isOwnFile

TEST_F(OwnFile, APlainFileOfThisUserWithOneNameIsHisOwn) {
    EXPECT_TRUE(isOwnFile(file("plain")));
}

TEST_F(OwnFile, AFileWithASecondNameIsNotAndIsAgainWithoutIt) {
    file("plain");
    link("plain", "second");
    EXPECT_FALSE(isOwnFile(owner.get()));
    ASSERT_EQ(unlink(dumps.path("plain").c_str()), 0);
    EXPECT_TRUE(isOwnFile(owner.get()));
    ASSERT_EQ(unlink(dumps.path("second").c_str()), 0);
    EXPECT_FALSE(isOwnFile(owner.get())); // no name at all
}

TEST_F(OwnFile, WhatIsNoPlainFileIsNot) {
    ASSERT_EQ(mkfifo(dumps.path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(isOwnFile(file("pipe")));
    owner.reset(open(dumps.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_FALSE(isOwnFile(owner.get()));
    owner.reset(open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_FALSE(isOwnFile(owner.get()));
}

TEST_F(OwnFile, AFileOfAnotherUserIsNot) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    file("plain");
    ASSERT_EQ(fchown(owner.get(), 12345, 12345), 0);
    EXPECT_FALSE(isOwnFile(owner.get()));
    ASSERT_EQ(fchown(owner.get(), geteuid(), 12345), 0);
    EXPECT_TRUE(isOwnFile(owner.get())); // the group does not matter
}

TEST_F(OwnFile, ADescriptorThatIsNoneHasNoFile) {
    EXPECT_FALSE(isOwnFile(-1));
    EXPECT_FALSE(isStillNamed(-1, dumps.path().c_str()));
}

// ---- isStillNamed

TEST_F(OwnFile, APathThatStillLeadsToItIsItsName) {
    file("plain");
    EXPECT_TRUE(named("plain"));
    link("plain", "second");
    EXPECT_TRUE(named("plain"));
    EXPECT_TRUE(named("second"));
}

TEST_F(OwnFile, AFileThatWasRenamedRemovedOrReplacedHasLostItsName) {
    file("plain");
    ASSERT_EQ(rename(dumps.path("plain").c_str(), dumps.path("moved").c_str()), 0);
    EXPECT_FALSE(named("plain"));
    EXPECT_TRUE(named("moved"));
    dumps.write("plain", "another file");
    EXPECT_FALSE(named("plain"));
    ASSERT_EQ(unlink(dumps.path("moved").c_str()), 0);
    EXPECT_FALSE(named("moved"));
}

TEST_F(OwnFile, ALinkThatLeadsToItIsNotItsName) {
    file("plain");
    ASSERT_EQ(symlink(dumps.path("plain").c_str(), dumps.path("link").c_str()), 0);
    EXPECT_FALSE(named("link"));
    EXPECT_TRUE(named("plain"));
}
