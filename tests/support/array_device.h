// A device node of a storage array for the unit tests: a file whose SG_IO and NVMe requests are answered by
// the test and recorded field by field as they left the program.
//
// This test program defines ioctl and fstat itself (array_device.cpp) and hands on whatever does not concern
// the device that is alive.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

// An INQUIRY as it left the program.
struct SentInquiry {
    sg_io_hdr header;
    std::vector<unsigned char> command;
    std::vector<unsigned char> sense; // what the sense buffer held
    int open_flags;                   // of the descriptor it was sent through
    bool close_on_exec;
};

class ArrayDevice {
  public:
    ArrayDevice();
    ~ArrayDevice();
    ArrayDevice(const ArrayDevice &) = delete;
    ArrayDevice &operator=(const ArrayDevice &) = delete;

    // The node's path. `readOnlyPath` can be opened for reading only, also by root.
    std::string path() const;
    std::string readOnlyPath() const;

    // Answers a page: its bytes are copied into the request's buffer, no further than the transfer length, and
    // the residual count says how many were left over. Each page code has its own answer.
    void answerPage(unsigned char page_code, const std::vector<unsigned char> &page);
    // What an INQUIRY or an admin command is answered with, when not by `answerPage`. The default is a
    // failure with EIO.
    std::function<int(sg_io_hdr *)> on_inquiry;
    std::function<int(nvme_admin_cmd *)> on_admin;
    // Answers log page requests with this text, zero bytes behind it.
    void answerLog(const std::string &text);

    bool block_device = true; // what fstat says of the node
    bool fstat_fails = false;
    int nsid = 1; // what NVME_IOCTL_ID answers

    std::vector<SentInquiry> inquiries;
    std::vector<nvme_admin_cmd> admin_commands;
    int nsid_requests = 0;

    // How many descriptors of this process refer to the node.
    int openDescriptors() const;

    int ioctlHere(unsigned long request, void *argument);
    bool isThis(int fd) const;

  private:
    std::string folder;
    std::vector<std::pair<unsigned char, std::vector<unsigned char>>> pages;
    int inquiry(sg_io_hdr *header, int fd);

    friend int answerIoctl(int fd, unsigned long request, void *argument);
};

// Where an admin command wants its data.
void *dataOf(const nvme_admin_cmd *cmd);

// The page 0x00 that lists `codes`, and the page 0xD0 that holds `name`, with its length.
std::vector<unsigned char> supportedPages(const std::vector<unsigned char> &codes);
std::vector<unsigned char> namePage(const std::string &name);
