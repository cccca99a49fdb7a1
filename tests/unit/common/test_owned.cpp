// Owners of descriptors, streams, folders and blocks: each releases its thing when it goes, and keeps errno.
#include "common/owned.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"

using dravik::Block;
using dravik::Descriptor;
using dravik::Folder;
using dravik::Stream;

namespace {

int openNull() {
    return open("/dev/null", O_RDWR | O_CLOEXEC);
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

// A number that no descriptor of this process has: closing it fails with EBADF.
constexpr int NOBODYS = 100000;

} // namespace

// ---- descriptors

TEST(OwnedDescriptor, NoneIsMinusOneAndClosingItIsASuccess) {
    Descriptor none;
    EXPECT_EQ(none.get(), -1);
    EXPECT_FALSE(none.isOpen());
    EXPECT_EQ(none.close(), 0);
    EXPECT_EQ(none.release(), -1);
}

TEST(OwnedDescriptor, ZeroIsADescriptorAsAnyOther) {
    Descriptor input(0);
    EXPECT_TRUE(input.isOpen());
    EXPECT_EQ(input.release(), 0); // it is not ours to close
}

TEST(OwnedDescriptor, IsClosedWhenItsOwnerGoesAndErrnoStays) {
    const int fd = openNull();
    errno = EDOM;
    {
        const Descriptor owner(fd);
        EXPECT_EQ(owner.get(), fd);
        EXPECT_TRUE(owner.isOpen());
        const Descriptor failing(NOBODYS);
        errno = EDOM;
    }
    EXPECT_EQ(errno, EDOM);
    EXPECT_FALSE(isOpen(fd));
}

TEST(OwnedDescriptor, HasOneOwnerAfterAMove) {
    const int fd = openNull();
    const int other = openNull();
    Descriptor first(fd);
    Descriptor second(std::move(first));
    EXPECT_EQ(first.get(),
              -1); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): it owns nothing
    EXPECT_EQ(second.get(), fd);
    Descriptor third(other);
    third = std::move(second);
    EXPECT_EQ(second.get(), -1); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(third.get(), fd);
    EXPECT_TRUE(isOpen(fd));
    EXPECT_FALSE(isOpen(other)); // what it had is closed
}

TEST(OwnedDescriptor, ResetClosesItOwnsTheOtherAndKeepsErrno) {
    const int fd = openNull();
    const int other = openNull();
    Descriptor owner(fd);
    errno = EDOM;
    owner.reset(other);
    EXPECT_EQ(owner.get(), other);
    EXPECT_FALSE(isOpen(fd));
    errno = EDOM;
    owner.reset(NOBODYS);
    owner.reset();
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(owner.get(), -1);
    EXPECT_FALSE(isOpen(other));
}

TEST(OwnedDescriptor, ReleaseGivesItAwayOpen) {
    int fd = -1;
    {
        Descriptor owner(openNull());
        fd = owner.release();
        EXPECT_EQ(owner.get(), -1);
    }
    EXPECT_TRUE(isOpen(fd));
    close(fd);
}

TEST(OwnedDescriptor, CloseAnswersWhatTheSystemAnsweredAndLeavesNone) {
    const int fd = openNull();
    Descriptor owner(fd);
    EXPECT_EQ(owner.close(), 0);
    EXPECT_FALSE(isOpen(fd));
    EXPECT_EQ(owner.get(), -1);
    EXPECT_EQ(owner.close(), 0); // not a second time
    Descriptor failing(NOBODYS);
    EXPECT_EQ(failing.close(), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(failing.get(), -1);
}

// ---- streams, folders, blocks

TEST(OwnedStream, IsClosedWhenItsOwnerGoesAndErrnoStays) {
    int fd = -1;
    {
        const Stream stream(fopen("/dev/full", "we"));
        ASSERT_NE(stream, nullptr);
        fd = fileno(stream.get());
        fputs("what cannot be written", stream.get());
        errno = EDOM;
    }
    EXPECT_EQ(errno, EDOM); // not ENOSPC, with which the last write fails
    EXPECT_FALSE(isOpen(fd));
}

TEST(OwnedFolder, IsClosedWhenItsOwnerGoes) {
    int fd = -1;
    {
        const Folder folder(opendir("/"));
        ASSERT_NE(folder, nullptr);
        fd = dirfd(folder.get());
        errno = EDOM;
    }
    EXPECT_EQ(errno, EDOM);
    EXPECT_FALSE(isOpen(fd));
}

TEST(OwnedBlock, IsFreedWhenItsOwnerGoes) {
    const long before = heldBlocks();
    {
        const Block<char> one(static_cast<char *>(malloc(10)));
        const Block<int[]> many(static_cast<int *>(calloc(10, sizeof(int))));
        EXPECT_EQ(many[9], 0);
        EXPECT_EQ(heldBlocks() - before, 2);
    }
    EXPECT_EQ(heldBlocks(), before);
}

TEST(Owned, NothingIsDoneForNothing) {
    errno = EDOM;
    {
        const Stream stream;
        const Folder folder;
        const Block<char> block;
        const Descriptor descriptor;
    }
    EXPECT_EQ(errno, EDOM);
}
