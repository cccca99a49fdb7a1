// Memory that runs out while the configuration file is changed.
#include "commands/conf_backup.h"

#include <new>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char CONF[] = "/etc/velomux.conf";

FakeHost *host = nullptr;

[[noreturn]] s_ecItems *changeHalfAndRunOut() {
    host->etc[CONF].text = "half of the new text";
    throw std::bad_alloc();
}

} // namespace

TEST(ConfBackupMemory, AChangeThatRunsOutOfMemoryIsRolledBackAndAnswersSo) {
    FakeHost made;
    host = &made;
    made.etc[CONF] = {true, "the old text", 0644, 0, 0};
    EXPECT_EQ(&EC_molloc_failed, dravik::changeConfFile(changeHalfAndRunOut));
    EXPECT_EQ((Calls{BACK_UP, ROLL_BACK}), made.calls);
    EXPECT_EQ("the old text", made.etc[CONF].text);
}
