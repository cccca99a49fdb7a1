// The name over SCSI: requests as they leave the program, answers good, short, hostile and failing.
#include "array/scsi_page.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/array_device.h"
#include "tests/support/dumps_redirect.h"

namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

// The caller's 128 bytes, with a canary behind them.
struct NameField {
    char name[128];
    char canary[64];

    NameField() {
        memset(this, '#', sizeof(*this));
    }
    std::string text() const {
        return {name, strnlen(name, sizeof(name))};
    }
    bool untouched() const {
        return std::string(name, sizeof(name)) == std::string(sizeof(name), '#');
    }
    bool canaryAlive() const {
        return std::string(canary, sizeof(canary)) == std::string(sizeof(canary), '#');
    }
};

class ScsiPage : public testing::Test {
  protected:
    DumpsFolder dumps;
    ArrayDevice device;
    NameField field;

    int readName() {
        const int result = get_vdisk_name(device.path().c_str(), field.name);
        EXPECT_TRUE(field.canaryAlive());
        EXPECT_EQ(device.openDescriptors(), 0);
        return result;
    }
    int readNamePage() {
        const int result = get_disk_d0_page(device.path().c_str(), field.name);
        EXPECT_TRUE(field.canaryAlive());
        EXPECT_EQ(device.openDescriptors(), 0);
        return result;
    }
};

TEST_F(ScsiPage, TheRequestBlockHoldsExactlyTheDescribedValues) {
    const int fd = open(device.path().c_str(), O_RDWR);
    unsigned char page[VPD_BUFFER_SIZE];
    device.answerPage(0xD0, namePage("vol1"));
    ASSERT_EQ(get_disk_page(fd, 0xD0, page), 0);
    close(fd);

    ASSERT_EQ(device.inquiries.size(), 1U);
    const SentInquiry &sent = device.inquiries[0];
    EXPECT_EQ(sent.command, (Bytes{0x12, 0x01, 0xD0, 0x00, 0xFF, 0x00}));
    EXPECT_EQ(sent.sense, Bytes(64, 0));
    EXPECT_EQ(sent.header.interface_id, 'S');
    EXPECT_EQ(sent.header.dxfer_direction, SG_DXFER_FROM_DEV);
    EXPECT_EQ(sent.header.dxfer_direction, -3);
    EXPECT_EQ(sent.header.cmd_len, 6);
    EXPECT_EQ(sent.header.mx_sb_len, 64);
    EXPECT_EQ(sent.header.iovec_count, 0);
    EXPECT_EQ(sent.header.dxfer_len, 256U);
    EXPECT_EQ(sent.header.dxferp, page);
    EXPECT_EQ(sent.header.timeout, 5000U);
    EXPECT_EQ(sent.header.flags, 0U);
    EXPECT_EQ(sent.header.pack_id, 0);
    EXPECT_EQ(sent.header.usr_ptr, nullptr);
    EXPECT_EQ(sent.header.status, 0);
    EXPECT_EQ(sent.header.masked_status, 0);
    EXPECT_EQ(sent.header.msg_status, 0);
    EXPECT_EQ(sent.header.sb_len_wr, 0);
    EXPECT_EQ(sent.header.host_status, 0);
    EXPECT_EQ(sent.header.driver_status, 0);
    EXPECT_EQ(sent.header.resid, 0);
    EXPECT_EQ(sent.header.duration, 0U);
    EXPECT_EQ(sent.header.info, 0U);
}

TEST_F(ScsiPage, ThePageIsZeroWhereTheDeviceDeliveredNothing) {
    const int fd = open(device.path().c_str(), O_RDWR);
    unsigned char page[VPD_BUFFER_SIZE];
    memset(page, '#', sizeof(page));
    device.answerPage(0x80, {0x00, 0x80, 0x00, 0x02, 'a', 'b'});
    ASSERT_EQ(get_disk_page(fd, 0x80, page), 0);
    close(fd);
    Bytes expected(255, 0);
    expected[1] = 0x80;
    expected[3] = 0x02;
    expected[4] = 'a';
    expected[5] = 'b';
    EXPECT_EQ(Bytes(page, page + 255), expected);
}

TEST_F(ScsiPage, BytesBeyondTheTransferAreNotThePages) {
    device.answerPage(0x00, supportedPages({0x00, 0xD0}));
    device.on_inquiry = [](sg_io_hdr *header) {
        // The driver left rubbish in the buffer but says that 6 bytes came.
        memset(header->dxferp, 'x', 255);
        static_cast<unsigned char *>(header->dxferp)[2] = 200;
        header->resid = 250;
        return 0;
    };
    EXPECT_EQ(readName(), 0);
    EXPECT_EQ(field.text(), "xxx");
}

TEST_F(ScsiPage, AnAbsurdResidualCountIsNoLengthEither) {
    for (const int resid : {-1, -100000, 257, 1000000}) {
        device.on_inquiry = [resid](sg_io_hdr *header) {
            memset(header->dxferp, 'x', 255);
            static_cast<unsigned char *>(header->dxferp)[2] = 5;
            header->resid = resid;
            return 0;
        };
        field = NameField();
        EXPECT_EQ(readNamePage(), resid < 0 ? 0 : -1) << resid;
        EXPECT_EQ(field.text(), resid < 0 ? "xxxxx" : "") << resid;
    }
}

TEST_F(ScsiPage, ARequestTheDriverRefusesIsLoggedWithItsResult) {
    EXPECT_EQ(readNamePage(), -1);
    EXPECT_TRUE(field.untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_page # get disk page ioctl failed, ret = -1, io_status is 0.\n",
                     "ERROR get_disk_d0_page # Get Disk D0 Page failed, iRet = -1.\n"}));
}

TEST_F(ScsiPage, CheckConditionFailsThoughTheIoctlReturnedZero) {
    device.on_inquiry = [](sg_io_hdr *header) {
        memcpy(header->dxferp, namePage("vol1").data(), 7);
        header->status = 2;
        return 0;
    };
    EXPECT_EQ(readNamePage(), -1);
    EXPECT_TRUE(field.untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_page # get disk page ioctl failed, ret = 0, io_status is 2.\n",
                     "ERROR get_disk_d0_page # Get Disk D0 Page failed, iRet = -1.\n"}));
}

TEST_F(ScsiPage, SenseHostAndDriverStatusAreNotExamined) {
    device.on_inquiry = [](sg_io_hdr *header) {
        memcpy(header->dxferp, namePage("vol1").data(), 7);
        header->host_status = 7;
        header->driver_status = 8;
        header->sb_len_wr = 18;
        header->sbp[0] = 0x70;
        return 0;
    };
    EXPECT_EQ(readNamePage(), 0);
    EXPECT_EQ(field.text(), "vol1");
}

TEST_F(ScsiPage, ANodeThatDoesNotOpenIsLoggedWithItsDescriptor) {
    char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE];
    unsigned int count = 77;
    EXPECT_EQ(get_disk_00_page("/nonexistent/node", list, &count), -1);
    EXPECT_EQ(get_disk_d0_page("/nonexistent/node", field.name), -1);
    EXPECT_EQ(count, 77U);
    EXPECT_TRUE(field.untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_00_page # Open scsi device failed, fd = -1.\n",
                     "ERROR get_disk_d0_page # Open scsi device failed, fd = -1.\n"}));
}

TEST_F(ScsiPage, ANodeIsOpenedForReadingAndWritingWithoutWaitingElseForReading) {
    device.answerPage(0xD0, namePage("vol1"));
    EXPECT_EQ(readNamePage(), 0);
    EXPECT_EQ(get_disk_d0_page(device.readOnlyPath().c_str(), field.name), 0);
    ASSERT_EQ(device.inquiries.size(), 2U);
    EXPECT_EQ(device.inquiries[0].open_flags & (O_ACCMODE | O_NONBLOCK), O_RDWR | O_NONBLOCK);
    EXPECT_EQ(device.inquiries[1].open_flags & (O_ACCMODE | O_NONBLOCK), O_RDONLY | O_NONBLOCK);
    EXPECT_TRUE(device.inquiries[0].close_on_exec);
    EXPECT_TRUE(device.inquiries[1].close_on_exec);
    EXPECT_EQ(device.openDescriptors(), 0);
}

TEST_F(ScsiPage, SupportedPagesAreListedAsTwoLowerCaseDigits) {
    device.answerPage(0x00, supportedPages({0x00, 0x80, 0x83, 0xD0}));
    char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE] = {};
    unsigned int count = 0;
    ASSERT_EQ(get_disk_00_page(device.path().c_str(), list, &count), 0);
    ASSERT_EQ(count, 4U);
    EXPECT_STREQ(list[0], "00");
    EXPECT_STREQ(list[1], "80");
    EXPECT_STREQ(list[2], "83");
    EXPECT_STREQ(list[3], "d0");
    EXPECT_EQ(device.openDescriptors(), 0);
}

TEST_F(ScsiPage, AtMostThirtyTwoPagesAreListed) {
    Bytes codes(254, 0x11);
    codes[32] = 0xD0;
    Bytes page = supportedPages(codes);
    page[3] = 255; // more than the transfer can hold
    device.answerPage(0x00, page);
    struct {
        char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE];
        char canary[PAGE_CODE_SIZE];
    } pages;
    memset(&pages, '#', sizeof(pages));
    unsigned int count = 0;
    ASSERT_EQ(get_disk_00_page(device.path().c_str(), pages.list, &count), 0);
    EXPECT_EQ(count, 32U);
    EXPECT_STREQ(pages.list[31], "11");
    EXPECT_EQ(std::string(pages.canary, sizeof(pages.canary)), std::string(PAGE_CODE_SIZE, '#'));
    // The page behind the 32nd is missed, as the list cannot hold it.
    EXPECT_EQ(readName(), -1);
}

TEST_F(ScsiPage, APageCountBeyondTheTransferListsOnlyWhatCame) {
    Bytes page = supportedPages({0x00, 0xD0});
    page[3] = 255;
    device.answerPage(0x00, page);
    char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE] = {};
    unsigned int count = 0;
    ASSERT_EQ(get_disk_00_page(device.path().c_str(), list, &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_STREQ(list[1], "d0");
}

TEST_F(ScsiPage, ADeviceThatListsNoPagesIsLogged) {
    for (const Bytes &page : {supportedPages({}), Bytes{}, Bytes{0x00, 0x00, 0x00}}) {
        ArrayDevice other;
        other.answerPage(0x00, page);
        dumps.forgetLogs();
        EXPECT_EQ(get_vdisk_name(other.path().c_str(), field.name), -1);
        EXPECT_TRUE(field.untouched());
        EXPECT_EQ(other.inquiries.size(), 1U);
        EXPECT_EQ(other.openDescriptors(), 0);
        EXPECT_EQ(dumps.commandLogLines(), (Lines{"ERROR get_disk_00_page # Page length error, page len 0.\n",
                                                  "ERROR get_vdisk_name # Get 00 page of device failed.\n"}));
    }
}

TEST_F(ScsiPage, AFailedListIsLoggedWithItsResult) {
    EXPECT_EQ(readName(), -1);
    EXPECT_TRUE(field.untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_page # get disk page ioctl failed, ret = -1, io_status is 0.\n",
                     "ERROR get_disk_00_page # Get Disk 00Page failed, iRet = -1.\n",
                     "ERROR get_vdisk_name # Get 00 page of device failed.\n"}));
}

TEST_F(ScsiPage, APageIsSupportedWhenAnEntryIsExactlyItsCode) {
    const char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE] = {"00", "d0x", "D0", "d0"};
    EXPECT_EQ(is_support_xx_page("d0", list, 4), 0);
    EXPECT_EQ(is_support_xx_page("d0", list, 3), -1);
    EXPECT_EQ(is_support_xx_page("d", list, 4), -1);
    EXPECT_EQ(is_support_xx_page("", list, 4), -1);
    EXPECT_EQ(is_support_xx_page("00", list, 0), -1);
    // A count beyond the list is not believed.
    EXPECT_EQ(is_support_xx_page("83", list, 255), -1);
}

TEST_F(ScsiPage, AListWithoutTheNamePageEndsWithoutRequestingIt) {
    device.answerPage(0x00, supportedPages({0x00, 0x80, 0x83}));
    EXPECT_EQ(readName(), -1);
    EXPECT_TRUE(field.untouched());
    ASSERT_EQ(device.inquiries.size(), 1U);
    EXPECT_EQ(device.inquiries[0].command[2], 0x00);
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_vdisk_name # Get D0 page of device failed, maybe it is not support D0 "
                     "page.\n"}));
}

TEST_F(ScsiPage, TheNameIsReadFromPageD0WhenItIsListed) {
    device.answerPage(0x00, supportedPages({0x00, 0xD0}));
    device.answerPage(0xD0, namePage("prod-db-07"));
    EXPECT_EQ(readName(), 0);
    EXPECT_EQ(field.text(), "prod-db-07");
    ASSERT_EQ(device.inquiries.size(), 2U);
    EXPECT_EQ(device.inquiries[0].command, (Bytes{0x12, 0x01, 0x00, 0x00, 0xFF, 0x00}));
    EXPECT_EQ(device.inquiries[1].command, (Bytes{0x12, 0x01, 0xD0, 0x00, 0xFF, 0x00}));
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(ScsiPage, AListedNamePageThatFailsIsLogged) {
    device.answerPage(0x00, supportedPages({0xD0}));
    EXPECT_EQ(readName(), -1);
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_page # get disk page ioctl failed, ret = -1, io_status is 0.\n",
                     "ERROR get_disk_d0_page # Get Disk D0 Page failed, iRet = -1.\n",
                     "ERROR get_vdisk_name # Get D0 page of device failed.\n"}));
}

TEST_F(ScsiPage, BytesAfterTheLengthAreNotTheName) {
    device.answerPage(0xD0, {0x00, 0xD0, 5, 'a', 'l', 'p', 'h', 'a', 'X', 'Y', 'Z'});
    EXPECT_EQ(readNamePage(), 0);
    EXPECT_EQ(field.text(), "alpha");
}

TEST_F(ScsiPage, ANulInsideTheLengthEndsTheName) {
    device.answerPage(0xD0, {0x00, 0xD0, 5, 'a', 'l', 0x00, 'h', 'a'});
    EXPECT_EQ(readNamePage(), 0);
    EXPECT_EQ(field.text(), "al");
}

TEST_F(ScsiPage, ANameOfNoLengthIsEmptyAndLoggedWithThePath) {
    device.answerPage(0x00, supportedPages({0xD0}));
    device.answerPage(0xD0, {0x00, 0xD0, 0, 'a', 'l', 'p', 'h', 'a'});
    EXPECT_EQ(readName(), -1);
    EXPECT_EQ(field.text(), "");
    EXPECT_EQ(dumps.commandLogLines(), (Lines{"ERROR get_disk_d0_page # Devcie (" + device.path() +
                                                  "),Get Disk D0 Page failed, vdisk name is NULL.\n",
                                              "ERROR get_vdisk_name # Get D0 page of device failed.\n"}));
}

TEST_F(ScsiPage, ANameIsCutAtTheFieldsHundredAndTwentySevenCharacters) {
    for (const size_t length : {126U, 127U, 128U, 252U}) {
        ArrayDevice other;
        other.answerPage(0xD0, namePage(std::string(length, 'n')));
        field = NameField();
        EXPECT_EQ(get_disk_d0_page(other.path().c_str(), field.name), 0);
        EXPECT_EQ(field.text(), std::string(length < 127 ? length : 127, 'n')) << length;
        EXPECT_TRUE(field.canaryAlive());
    }
}

TEST_F(ScsiPage, ALengthOf255WithoutANulStaysWithinThePage) {
    device.on_inquiry = [](sg_io_hdr *header) {
        // The whole announced transfer, one byte more than the device may send.
        memset(header->dxferp, 0xFF, 256);
        header->resid = 0;
        return 0;
    };
    EXPECT_EQ(readNamePage(), 0);
    EXPECT_EQ(field.text(), std::string(127, '\xFF'));
}

} // namespace
