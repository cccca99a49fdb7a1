// Who listens at a socket. That entries arrive, tests/host/journal.bats shows.
#include "monitor/journal_sender.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

#include <gtest/gtest.h>

#include "common/owned.h"

using namespace dravik;

namespace {

class JournalSenderTest : public testing::Test {
  protected:
    JournalSenderTest() {
        std::string folder = "/tmp/dravik-socket.XXXXXX";
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        path = folder + "/s";
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    }
    ~JournalSenderTest() override {
        std::filesystem::remove_all(std::filesystem::path(path).parent_path());
    }
    const sockaddr *socketAddress() const {
        return reinterpret_cast<const sockaddr *>(&address);
    }
    Descriptor listen() const {
        Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(fd.get(), socketAddress(), sizeof(address)), 0);
        return fd;
    }
    // Fills the queue; how many datagrams it holds.
    int fill() const {
        const Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        int count = 0;
        while (sendto(fd.get(), "x", 1, 0, socketAddress(), sizeof(address)) == 1) {
            ++count;
        }
        return count;
    }
    std::string path;
    sockaddr_un address = {};
};

TEST_F(JournalSenderTest, FindsAListenerGoneThatHasLeftItsSocketBehind) {
    listen();
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(listenerAt(path.c_str()), Listener::GONE);
}

TEST_F(JournalSenderTest, FindsNobodyWhereNoSocketIs) {
    EXPECT_EQ(listenerAt(path.c_str()), Listener::NOBODY);
    std::ofstream(path) << "a file";
    EXPECT_EQ(listenerAt(path.c_str()), Listener::NOBODY);
    EXPECT_EQ(listenerAt((path + "/s").c_str()), Listener::NOBODY);
    EXPECT_EQ(listenerAt(std::string(4000, '/').c_str()), Listener::NOBODY);
    EXPECT_EQ(listenerAt(""), Listener::NOBODY);
}

TEST_F(JournalSenderTest, FindsAListenerReadyUntilItsQueueIsFullAndThenBusy) {
    const Descriptor listener = listen();
    EXPECT_EQ(listenerAt(path.c_str()), Listener::READY);
    const int held = fill();
    EXPECT_GT(held, 0);
    EXPECT_EQ(listenerAt(path.c_str()), Listener::BUSY);
    char byte = 0;
    for (int i = 0; i < held; ++i) {
        EXPECT_EQ(recv(listener.get(), &byte, 1, MSG_DONTWAIT), 1);
    }
    EXPECT_EQ(listenerAt(path.c_str()), Listener::READY);
}

} // namespace
