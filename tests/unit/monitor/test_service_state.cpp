// What the service manager is told.
#include "monitor/service_state.h"

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "common/owned.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

class ServiceState : public testing::Test {
  protected:
    ServiceState() {
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        setenv("DRAVIK_CLI_DEBUG", "1", 1);
    }
    ~ServiceState() override {
        clear();
        takeServiceVariables();
        unsetenv("DRAVIK_CLI_DEBUG");
        std::filesystem::remove_all(folder);
    }
    static void clear() {
        for (const char *name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            unsetenv(name);
        }
    }
    // Listens at the socket, "@" for an abstract one.
    void listen(const std::string &name) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof(address.sun_path) - 1);
        const bool is_abstract = name[0] == '@';
        if (is_abstract) {
            address.sun_path[0] = '\0';
        }
        listener.reset(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr *>(&address),
                       static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() +
                                              (is_abstract ? 0 : 1))),
                  0);
    }
    // The datagrams that have come.
    std::vector<std::string> heard() const {
        std::vector<std::string> datagrams;
        char text[4096] = "";
        ssize_t length = 0;
        while ((length = recv(listener.get(), text, sizeof(text), MSG_DONTWAIT)) >= 0) {
            datagrams.emplace_back(text, static_cast<size_t>(length));
        }
        return datagrams;
    }
    // Starts with these variables; what of them is left in the environment.
    static std::string take(const std::string &socket, const char *time = nullptr,
                            const char *process = nullptr) {
        clear();
        setenv("NOTIFY_SOCKET", socket.c_str(), 1);
        if (time != nullptr) {
            setenv("WATCHDOG_USEC", time, 1);
        }
        if (process != nullptr) {
            setenv("WATCHDOG_PID", process, 1);
        }
        takeServiceVariables();
        std::string left;
        for (const char *name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            left += getenv(name) == nullptr ? "" : name;
        }
        return left;
    }
    using Texts = std::vector<std::string>;
    std::string folder = "/tmp/dravik-notify.XXXXXX";
    Descriptor listener;
    DumpsFolder dumps;
};

TEST_F(ServiceState, WithoutASocketNobodyIsTold) {
    clear();
    takeServiceVariables();
    EXPECT_FALSE(hasServiceManager());
    EXPECT_FALSE(isWatched());
    tellServiceManager("READY=1");
    EXPECT_EQ(take(""), "");
    EXPECT_FALSE(hasServiceManager());
    EXPECT_EQ(dumps.commandLogLines(), Texts{});
}

TEST_F(ServiceState, StatesArriveAsTheyAreAtASocketOfEitherKind) {
    for (const std::string &name : {folder + "/s", "@dravik-test-" + std::to_string(getpid())}) {
        listen(name);
        EXPECT_EQ(take(name), "");
        EXPECT_TRUE(hasServiceManager());
        tellServiceManager("READY=1");
        tellServiceManager("STATUS=11 volumes");
        EXPECT_EQ(heard(), (Texts{"READY=1", "STATUS=11 volumes"}));
    }
    EXPECT_EQ(dumps.commandLogLines(), Texts{});
}

TEST_F(ServiceState, ASocketThatIsNotThereAndAFullQueueLoseTheStateAndNobodyWaits) {
    take(folder + "/s");
    tellServiceManager("READY=1");
    listen(folder + "/s");
    for (int i = 0; i < 5000; ++i) {
        tellServiceManager("WATCHDOG=1");
    }
    const size_t held = heard().size();
    EXPECT_GT(held, 0U);
    EXPECT_LT(held, 5000U);
    tellServiceManager("STATUS=back");
    EXPECT_EQ(heard(), Texts{"STATUS=back"});
}

TEST_F(ServiceState, ANameThatIsNoSocketsIsNotUsed) {
    for (const std::string &name :
         {std::string("s"), std::string("/"), std::string("@"), std::string("vsock:2:1"),
          "/" + std::string(107, 'x'), "@" + std::string(107, 'x')}) {
        dumps.forgetLogs();
        EXPECT_EQ(take(name, "1000"), "");
        EXPECT_FALSE(hasServiceManager()) << name;
        EXPECT_FALSE(isWatched());
        EXPECT_EQ(dumps.commandLogMessages(),
                  Texts{"DEBUG Environment variable NOTIFY_SOCKET is not usable: [" + name + "]."});
    }
    take("/" + std::string(106, 'x'));
    EXPECT_TRUE(hasServiceManager());
}

TEST_F(ServiceState, IsWatchedForAPositiveTimeOfThisProcessOrOfNoneNamed) {
    const std::string name = folder + "/s";
    const std::string self = std::to_string(getpid());
    take(name);
    EXPECT_FALSE(isWatched());
    EXPECT_EQ(take(name, "180000000"), "");
    EXPECT_TRUE(isWatched());
    EXPECT_EQ(take(name, "180000000", self.c_str()), "");
    EXPECT_TRUE(isWatched());
    EXPECT_EQ(take(name, "180000000", "1"), "");
    EXPECT_FALSE(isWatched());
    EXPECT_EQ(dumps.commandLogLines(), Texts{});
}

TEST_F(ServiceState, AWatchdogWithoutAUsableTimeOrProcessIsNone) {
    for (const char *time : {"0", "000", "-1", "1s", " 1", "x"}) {
        dumps.forgetLogs();
        take(folder + "/s", time);
        EXPECT_TRUE(hasServiceManager());
        EXPECT_FALSE(isWatched()) << time;
        EXPECT_EQ(
            dumps.commandLogMessages(),
            Texts{std::string("DEBUG Environment variable WATCHDOG_USEC is not usable: [") + time + "]."});
    }
    dumps.forgetLogs();
    take(folder + "/s", "1", "me");
    EXPECT_FALSE(isWatched());
    EXPECT_EQ(dumps.commandLogMessages(),
              Texts{"DEBUG Environment variable WATCHDOG_PID is not usable: [me]."});
}

} // namespace
