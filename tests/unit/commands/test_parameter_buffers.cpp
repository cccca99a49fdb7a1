// The buffers of what the user gave: their size, and that nothing is in them when the program starts.
#include "commands/parameter_buffers.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

bool isZero(const char (&buffer)[PARAM_SIZE]) {
    return std::all_of(buffer, buffer + PARAM_SIZE, [](char c) { return c == '\0'; });
}

// Looked at before main and any other test.
const bool EMPTY_AT_START = isZero(gParamMpathxVal) && isZero(gParamPathVal) && isZero(gParamStateVal) &&
                            isZero(gParamGroupVal) && isZero(gParamChooserVal) && isZero(gParamWwidVal) &&
                            isZero(gParamAliasVal) && isZero(gParamIntervalVal) && isZero(gParamHostportVal);
const int INTERFACE_AT_START = gParamHostInterfaceType;

} // namespace

TEST(ParameterBuffers, AllAreEmptyWhenTheProgramStartsAndScsiIsMeant) {
    EXPECT_TRUE(EMPTY_AT_START);
    EXPECT_EQ(INTERFACE_AT_START, HOST_INTERFACE_SCSI);
    EXPECT_EQ(HOST_INTERFACE_SCSI, 0);
    EXPECT_EQ(HOST_INTERFACE_NVME, 1);
}

TEST(ParameterBuffers, EachHolds256CharactersAndTheTerminatorOfItsOwn) {
    EXPECT_EQ(PARAM_SIZE, 257U);
    char *const buffers[] = {gParamMpathxVal, gParamPathVal,     gParamStateVal,
                             gParamGroupVal,  gParamChooserVal,  gParamWwidVal,
                             gParamAliasVal,  gParamIntervalVal, gParamHostportVal};
    char letter = 'a';
    for (char *buffer : buffers) {
        memset(buffer, letter++, PARAM_SIZE - 1);
        buffer[PARAM_SIZE - 1] = '\0';
    }
    letter = 'a';
    for (char *buffer : buffers) {
        EXPECT_EQ(std::string(buffer), std::string(256, letter++)); // no other has written into it
        memset(buffer, 0, PARAM_SIZE);
    }
}
