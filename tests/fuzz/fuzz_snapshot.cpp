// Any snapshot file: it is read as the second reader reads it, written and read again without a difference, and
// its index answers as the linear search does.
#include "monitor/snapshot.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "common/log.h"
#include "monitor/lun_index.h"
#include "tests/fuzz/require.h"
#include "tests/support/lun_list_maker.h"
#include "tests/support/snapshot_reference.h"

namespace {

// A file in memory that the product opens by a path.
class MemoryFile {
  public:
    MemoryFile() : fd(memfd_create("snapshot", MFD_CLOEXEC)), name("/proc/self/fd/" + std::to_string(fd)) {
        require(fd >= 0, "a file in memory can be had");
    }
    const char *path() const {
        return name.c_str();
    }
    void hold(const std::string &bytes) const {
        require(ftruncate(fd, 0) == 0, "the file can be emptied");
        require(pwrite(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
                "the file can be filled");
    }
    std::string bytes() const {
        std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
        require(pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
                "the file can be read");
        return text;
    }

  private:
    int fd;
    std::string name;
};

void checkTerminated(const s_lunPath *head) {
    for (const s_lunPath *record = firstLunpath(head); record != nullptr; record = nextLunpath(record)) {
        require(fieldOf(record->lun_alias).size() < sizeof(record->lun_alias) &&
                    fieldOf(record->lun_wwid).size() < sizeof(record->lun_wwid) &&
                    fieldOf(record->path_dev_id).size() < sizeof(record->path_dev_id) &&
                    fieldOf(record->path_dev_name).size() < sizeof(record->path_dev_name) &&
                    fieldOf(record->path_status).size() < sizeof(record->path_status) &&
                    fieldOf(record->path_group_status).size() < sizeof(record->path_group_status) &&
                    fieldOf(record->dravik_status).size() < sizeof(record->dravik_status),
                "every field is terminated inside itself");
    }
}

void checkIndex(const s_lunPath *head) {
    static LunIndex index;
    buildLunIndex(&index, head);
    for (const LunIndex::Entry &entry : index.entries) {
        const size_t by_name = findSameName(&index, entry);
        const size_t by_wwid = findSameWwid(&index, entry);
        require(by_name != NO_ENTRY &&
                    index.entries[by_name].record == findLunpathByDevName(head, entry.record->path_dev_name),
                "the index finds a name as the search does");
        require(by_wwid != NO_ENTRY &&
                    index.entries[by_wwid].record == findLunpathByLunId(head, entry.record->lun_wwid),
                "the index finds a WWID as the search does");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryFile input;
    static const MemoryFile output;
    static s_lunPath *const first = mallocLunpath(); // as the monitor's, never released
    static s_lunPath *const second = mallocLunpath();
    log_started = false;

    const std::string file(reinterpret_cast<const char *>(data), size);
    input.hold(file);
    initLunpath(first);
    const int result = readLunPathToFile(first, input.path());
    const SnapshotOutcome expected = referenceRead(file);
    require(result == expected.result, "the result");
    require(lunListText(first) == lunText(expected.list), "the records");
    checkTerminated(first);
    checkIndex(first);

    output.hold("");
    require(writeLunPathToFile(first, output.path()) == 1, "what was read can be written");
    const std::string written = output.bytes();
    initLunpath(second);
    require(readLunPathToFile(second, output.path()) == 1, "what was written can be read");
    require(lunListText(second) == lunListText(first), "what was written reads the same");
    require(writeLunPathToFile(second, output.path()) == 1, "and can be written again");
    require(output.bytes() == written, "to the same bytes");
    require(input.bytes() == file, "reading leaves the file alone");
    return 0;
}
