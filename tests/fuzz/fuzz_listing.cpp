// Any listing: both parsers answer as the second reader does, stay inside the text, leave well-formed lists, and
// answer the same again.
#include "topology/listing.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/log.h"
#include "struct/s_lunPath.h"
#include "tests/fuzz/require.h"
#include "tests/support/listing_reference.h"
#include "topology/target_port.h"

// In place of the library's, which would run a shell for each name of a SCSI or NVMe device: the linker takes this
// one and leaves the other in the archive. Nothing is resolved; what the parser promises its callee is checked.
s_ecItems *getTargetPort(const char *device_name, char *host_interface, char *target_port) {
    require(strnlen(device_name, 31) < 31, "the name is terminated inside its field");
    for (unsigned int i = 0; i < HOST_INTERFACE_SIZE; ++i) {
        require(host_interface[i] == '\0', "the host interface arrives cleared");
    }
    for (unsigned int i = 0; i < TARGET_PORT_SIZE; ++i) {
        require(target_port[i] == '\0', "the target port arrives cleared");
    }
    return nullptr;
}

namespace {

// How many nodes the list shows, each but the last without an end flag.
template <typename Node> size_t lengthOf(const Node *head) {
    if (head->end) {
        return 0;
    }
    size_t length = 0;
    const Node *node = head->next;
    for (; node != nullptr; node = node->next) {
        ++length;
        if (node->end) {
            return length;
        }
    }
    require(false, "a list ends with an end flag");
    return 0;
}

struct Answer {
    const s_ecItems *record;
    unsigned int lines;
    std::string devices;
};

Answer parse(char *text, bool older, s_dravik *head) {
    Answer answer = {nullptr, 0, ""};
    initDravik(head);
    answer.record =
        older ? parseQueryCmdResult(text, head) : parseQueryCmdResultList(text, head, &answer.lines);
    answer.devices = deviceListText(head);
    return answer;
}

void checkAgainstReference(const std::string &listing, bool older, s_dravik *head) {
    const ListingOutcome expected = referenceParse(listing.c_str(), older);
    std::vector<char> exact(listing.c_str(), listing.c_str() + listing.size() + 1);
    const Answer answer = parse(exact.data(), older, head);
    require(answer.record == (expected.malformed ? &EC_parse_cmd_out : &EC_info_ok), "the record");
    require(older || answer.lines == expected.lines, "the number of lines");
    require(answer.devices == expected.devices, "the devices");

    FencedText fenced(listing);
    const Answer again = parse(fenced.text(), older, head);
    require(fenced.fencesStand(), "the parser stays inside the text");
    require(again.record == answer.record && again.lines == answer.lines && again.devices == answer.devices,
            "the same again over the same nodes");
}

// The list, and what the flattening makes of it.
void checkShape(const s_dravik *head, size_t lines, s_lunPath *records) {
    size_t paths = 0;
    const size_t devices = lengthOf(head);
    bool pathless = false;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        const size_t own = lengthOf(device->pdev);
        pathless = pathless || own == 0;
        paths += own;
    }
    require(2 * devices + paths <= lines, "each device has two lines, each path one");
    if (!pathless) { // a device without paths repeats until the list is full: too slow for here
        require(cvtDravikToLunpath(head, records) == &EC_ok, "the flattening succeeds");
        require(lengthOf(records) == paths, "one record a path");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // The lists live as long as the process, as the monitor's do: each input meets the nodes of the one before.
    static s_dravik *const head = mallocDravik();
    static s_lunPath *const records = mallocLunpath();
    log_started = false;
    const std::string listing(reinterpret_cast<const char *>(data), size);
    checkAgainstReference(listing, true, head);
    checkAgainstReference(listing, false, head);
    checkShape(head, referenceParse(listing.c_str()).lines, records);
    return 0;
}
