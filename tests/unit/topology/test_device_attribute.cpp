// Attributes read as cat, and cat with an awk behind it, would print them.
#include "topology/device_attribute.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <utility>

#include <gtest/gtest.h>

using dravik::AttributeState;
using dravik::readAttribute;
using dravik::readAttributeHeads;

namespace {

namespace fs = std::filesystem;

class DeviceAttribute : public testing::Test {
  protected:
    DeviceAttribute() {
        if (mkdtemp(folder.data()) == nullptr) {
            abort();
        }
        file = folder + "/address";
    }
    ~DeviceAttribute() override {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    void write(const std::string &text) const {
        std::ofstream(file, std::ios::binary) << text;
    }
    using Reader = AttributeState (*)(const char *path, char *out, size_t size);
    // What the reader answers with, and the text.
    std::pair<AttributeState, std::string> read(Reader reader, size_t size = 1024) const {
        std::string out(size + 1, '#');
        const AttributeState state = reader(file.c_str(), out.data(), size);
        EXPECT_EQ(out[size], '#');
        return {state, out.substr(0, out.find('\0'))};
    }
    void expect(Reader reader, AttributeState state, const std::string &text, size_t size = 1024) const {
        const auto [got_state, got_text] = read(reader, size);
        EXPECT_EQ(got_state, state);
        EXPECT_EQ(got_text, text);
    }
    // Both readers find nothing to read in what is there now.
    void expectBoth(AttributeState state) const {
        expect(readAttribute, state, "");
        expect(readAttributeHeads, state, "");
    }

    std::string folder = testing::TempDir() + "dravik-attribute.XXXXXX";
    std::string file;
};

} // namespace

TEST_F(DeviceAttribute, TheWholeTextIsReadAsItStands) {
    for (const std::string text : {"fc\n", "fc", "", "\n\n", "a,b\nc,d\n", "\x01\xFF\t"}) {
        write(text);
        expect(readAttribute, AttributeState::READ, text);
    }
}

TEST_F(DeviceAttribute, OfEachLineTheHeadEndsBeforeItsFirstComma) {
    const std::pair<const char *, const char *> cases[] = {
        {"traddr=1.2.3.4,trsvcid=4420\n", "traddr=1.2.3.4\n"},
        {"traddr=1.2.3.4\n", "traddr=1.2.3.4\n"},
        {"a,b,c\nd\n,e\nf,\n", "a\nd\n\nf\n"},
        {",", "\n"},
        {"\n", "\n"},
        {"\n\n", "\n\n"},
        {"", ""},
    };
    for (const auto &[text, heads] : cases) {
        write(text);
        expect(readAttributeHeads, AttributeState::READ, heads);
    }
}

TEST_F(DeviceAttribute, ALastHeadWithoutANewlineGetsOne) {
    for (const std::string text : {"a", "a,b", "x\na", "x,y\na,b"}) {
        write(text);
        EXPECT_EQ(read(readAttributeHeads).second.back(), '\n') << text;
    }
}

TEST_F(DeviceAttribute, BothAreCutAtTheSizeOfTheBuffer) {
    write("ab\ncd,ef\ngh");
    const std::string whole = "ab\ncd,ef\ngh";
    const std::string heads = "ab\ncd\ngh\n";
    for (size_t size = 1; size < 15; ++size) {
        expect(readAttribute, AttributeState::READ, whole.substr(0, size - 1), size);
        expect(readAttributeHeads, AttributeState::READ, heads.substr(0, size - 1), size);
    }
}

TEST_F(DeviceAttribute, AMegabyteIsReadToTheCutAndItsHeadsToTheEnd) {
    const std::string megabyte(1048576, 'x');
    write(megabyte);
    expect(readAttribute, AttributeState::READ, megabyte.substr(0, 1023));
    expect(readAttributeHeads, AttributeState::READ, megabyte.substr(0, 1023));
    write("a," + megabyte + "\nb");
    expect(readAttributeHeads, AttributeState::READ, "a\nb\n");
}

TEST_F(DeviceAttribute, AMissingOneIsMissingAndEmpty) {
    expectBoth(AttributeState::MISSING);
    fs::create_symlink("nowhere", file);
    expectBoth(AttributeState::MISSING);
}

TEST_F(DeviceAttribute, OnlyTheCommandsCanTellOfAFolderALoopOrANulByte) {
    fs::create_directory(file);
    expectBoth(AttributeState::UNSURE);
    fs::remove(file);
    fs::create_symlink("address", file);
    expectBoth(AttributeState::UNSURE);
    fs::remove(file);
    write(std::string("fc\0\n", 4));
    EXPECT_EQ(read(readAttribute).first, AttributeState::UNSURE);
    EXPECT_EQ(read(readAttributeHeads).first, AttributeState::UNSURE);
    file += "/below-a-file";
    expectBoth(AttributeState::UNSURE);
}

TEST_F(DeviceAttribute, APipeOrADeviceIsEmptyAndNobodyWaitsForIt) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    expectBoth(AttributeState::READ);
    fs::remove(file);
    fs::create_symlink("/dev/zero", file);
    expectBoth(AttributeState::READ);
}
