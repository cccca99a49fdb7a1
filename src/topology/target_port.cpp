// Target ports, read from the names and attributes that the kernel and udev give to a path.
#include "topology/target_port.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/plain_word.h"
#include "common/text.h"
#include "common/text_split.h"
#include "topology/port_sources.h"

namespace {

constexpr unsigned int OUTPUT_SIZE = 1024;
constexpr unsigned int RDMA_PORT_SIZE = 128; // address and port, with the terminator

struct PathPort {
    char *host_interface;
    char *target_port;
};

void setInterface(const PathPort *port, const char *name) {
    tessaline_strncpy(port->host_interface, name, HOST_INTERFACE_SIZE - 1);
}

void cutAfterFirstLine(char *text) {
    text[strcspn(text, "\n")] = '\0';
}

// Copies the `n`-th piece (from 1) of `text` between separators, empty pieces not counted, into `piece`, cut to
// a target port's length. False when there are fewer pieces. `text` is cut in place.
bool takePiece(char *text, char separator, int n, char (&piece)[TARGET_PORT_SIZE]) {
    char **pieces = nullptr;
    const int count = splitStr(text, separator, &pieces);
    const bool found = n <= count;
    if (found) {
        tessaline_strncpy(piece, pieces[n - 1], TARGET_PORT_SIZE - 1);
    }
    free(pieces);
    return found;
}

// Makes the `n`-th piece of `text` between "-" the target port if it holds `mark`.
void setPortFromPiece(const PathPort *port, char *text, int n, const char *mark) {
    char piece[TARGET_PORT_SIZE] = "";
    if (takePiece(text, '-', n, piece) && find_str(piece, mark) != nullptr) {
        tessaline_strncpy(port->target_port, piece, TARGET_PORT_SIZE - 1);
    }
}

//   traddr=nn-0x20000000c9000001:pn-0x10000000c9000001
void setFcNvmePort(const PathPort *port, char *address) {
    cutAfterFirstLine(address);
    setPortFromPiece(port, address, 3, "0x");
}

//   traddr=192.168.1.10
void setRdmaNvmePort(const PathPort *port, char *address) {
    char piece[TARGET_PORT_SIZE] = "";
    cutAfterFirstLine(address);
    if (takePiece(address, '=', 2, piece) && find_str(piece, ".") != nullptr) {
        // The service port of NVMe over RDMA is fixed, not read from the system.
        char text[TARGET_PORT_SIZE + sizeof(":4420")] = "";
        snprintf(text, sizeof(text), "%s:4420", piece);
        tessaline_strncpy(port->target_port, text, RDMA_PORT_SIZE - 1);
    }
}

s_ecItems *resolveNvme(const char *device_name, const PathPort *port) {
    char transport[OUTPUT_SIZE] = "";
    s_ecItems *record = dravik::askTransport(device_name, transport, sizeof(transport));
    if (isFailure(record)) {
        return record;
    }
    const bool fc = find_str(transport, "fc") != nullptr;
    const bool rdma = !fc && find_str(transport, "rdma") != nullptr;
    if (!fc && !rdma) {
        return record;
    }
    setInterface(port, fc ? "fc-nvme" : "rdma-nvme");
    char address[OUTPUT_SIZE] = "";
    record = dravik::askAddress(device_name, address, sizeof(address));
    if (!isFailure(record) && find_str(address, "traddr=") != nullptr) {
        if (fc) {
            setFcNvmePort(port, address);
        } else {
            setRdmaNvmePort(port, address);
        }
    }
    return record;
}

// `links` holds the names of all links to the device, one per line:
//
//   pci-0000:05:00.0-fc-0x50000000c9000001-lun-1
//
// A device with a single FC link has its port there. With several, the first line is passed over and the
// first "pci" line behind it counts.
void setFcPort(const PathPort *port, char *links) {
    if (numberOfString(links, "fc-") == 1) {
        setPortFromPiece(port, links, 4, "0x");
        return;
    }
    for (char *line = get_next_line(links); line != nullptr;) {
        char *next = get_next_line(line);
        cutAfterFirstLine(line);
        if (find_str(line, "pci") != nullptr) {
            setPortFromPiece(port, line, 4, "0x");
            return;
        }
        line = next;
    }
}

s_ecItems *resolveScsi(const char *device_name, const PathPort *port) {
    char links[OUTPUT_SIZE] = "";
    s_ecItems *record = dravik::askLinks(device_name, links, sizeof(links));
    if (isFailure(record)) {
        return record;
    }
    if (find_str(links, "-iscsi-") != nullptr) {
        setInterface(port, "iscsi");
        setPortFromPiece(port, links, 2, "3260"); // ip-192.168.1.10:3260-iscsi-iqn.2001-04.com...-lun-1
    } else if (find_str(links, "-fc-") != nullptr) {
        setInterface(port, "fc");
        setFcPort(port, links);
    } else if (find_str(links, "-scsi-") != nullptr) {
        setInterface(port, "sas");
    }
    return record;
}

} // namespace

s_ecItems *getTargetPort(const char *device_name, char *host_interface, char *target_port) {
    const bool nvme = find_str(device_name, "nvme") != nullptr;
    if ((!nvme && find_str(device_name, "sd") == nullptr) || !isPlainDeviceName(device_name)) {
        return nullptr;
    }
    const PathPort port = {host_interface, target_port};
    return nvme ? resolveNvme(device_name, &port) : resolveScsi(device_name, &port);
}
