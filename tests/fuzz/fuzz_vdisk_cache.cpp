// Any text in the place of the cache file, any pair to store: a lookup finds what the rule says, a store loses
// nothing, and what was stored comes back.
//
// Input: the WWID, a newline, the name, a newline, the file.
#include "array/array.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

#include "common/comm_util.h"

namespace {

constexpr char CANARY = '#';

void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

struct DeleteTree {
    void operator()(cJSON *root) const {
        cJSON_Delete(root);
    }
};
using Tree = std::unique_ptr<cJSON, DeleteTree>;

// A folder for the two files, removed at the end.
class Folder {
  public:
    Folder()
        : name(access("/dev/shm", W_OK) == 0 ? "/dev/shm/dravik-fuzz-XXXXXX" : "/tmp/dravik-fuzz-XXXXXX") {
        require(mkdtemp(name.data()) != nullptr, "a folder");
    }
    ~Folder() {
        unlink((name + "/cache").c_str());
        unlink((name + "/first").c_str());
        rmdir(name.c_str());
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string name;
};

const std::string &folder() {
    static const Folder made;
    return made.name;
}

std::string readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file.peek() != std::ifstream::traits_type::eof()) {
        text << file.rdbuf();
    }
    return text.str();
}

void writeFile(const std::string &path, const std::string &text) {
    unlink(path.c_str());
    std::ofstream(path, std::ios::binary) << text;
}

struct Found {
    bool found;
    bool named;
    std::string name;
};

// The rule: the first object of "disk" whose "wwid" is the text.
Found expectedIn(const std::string &text, const std::string &wwid) {
    const Tree root(cJSON_Parse(text.c_str()));
    const cJSON *disk = isJsonObject(root.get()) ? cJSON_GetObjectItem(root.get(), "disk") : nullptr;
    const cJSON *item = isJsonArray(disk) ? disk->child : nullptr;
    for (; item != nullptr; item = item->next) {
        const cJSON *key = isJsonObject(item) ? cJSON_GetObjectItem(item, "wwid") : nullptr;
        if (isJsonString(key) && wwid == key->valuestring) {
            const cJSON *name = cJSON_GetObjectItem(item, "vdisk_name");
            const bool named = isJsonString(name);
            return {true, named, named ? std::string(name->valuestring).substr(0, 127) : ""};
        }
    }
    return {false, false, ""};
}

void checkLookup(const std::string &path, const std::string &wwid) {
    const Found expected = expectedIn(readFile(path), wwid);
    char field[128 + 32];
    memset(field, CANARY, sizeof(field));
    unsigned int found = 0;
    getStoredVdiskname(path.c_str(), wwid.c_str(), field, &found);
    require(std::string(field + 128, 32) == std::string(32, CANARY), "bytes behind the name");
    require(found == (expected.found ? 1U : 0U), "the found flag");
    if (expected.named) {
        require(memchr(field, '\0', 128) != nullptr && field == expected.name, "the name");
    } else {
        require(std::string(field, 128) == std::string(128, CANARY), "an untouched buffer");
    }
}

// A pair makes a first file exactly when it comes back from it.
bool checkFirstFile(const std::string &wwid, const std::string &name) {
    const std::string path = folder() + "/first";
    writeFile(path, "old");
    if (make_disk_json(wwid.c_str(), name.c_str(), path.c_str()) == 0) {
        require(readFile(path) == "old", "a refused pair writes nothing");
        return false;
    }
    const Tree root(cJSON_Parse(readFile(path).c_str()));
    const cJSON *disk = cJSON_GetObjectItem(root.get(), "disk");
    require(cJSON_GetArraySize(root.get()) == 1 && cJSON_GetArraySize(disk) == 1, "one entry");
    const cJSON *entry = disk->child;
    require(wwid == cJSON_GetObjectItem(entry, "wwid")->valuestring &&
                name == cJSON_GetObjectItem(entry, "vdisk_name")->valuestring,
            "the pair comes back");
    return true;
}

int elementsOf(const std::string &text) {
    const Tree root(cJSON_Parse(text.c_str()));
    return cJSON_GetArraySize(cJSON_GetObjectItem(root.get(), "disk"));
}

std::string printed(const std::string &text) {
    const Tree root(cJSON_Parse(text.c_str()));
    char *line = cJSON_PrintUnformatted(root.get());
    std::string copy = line == nullptr ? "(null)" : line;
    cJSON_free(line);
    return copy;
}

void checkStore(const std::string &path, const std::string &wwid, const std::string &name, bool fits_first) {
    const std::string before = readFile(path);
    store_wwid_vdiskname(path.c_str(), wwid.c_str(), name.c_str());
    const std::string after = readFile(path);
    require(access((path + ".new").c_str(), F_OK) != 0, "nothing is left beside the file");
    if (wwid.empty() || name.empty()) {
        require(after == before, "an empty pair is not stored");
        return;
    }
    const Tree root(cJSON_Parse(before.c_str()));
    const cJSON *disk = root == nullptr ? nullptr : cJSON_GetObjectItem(root.get(), "disk");
    if (root == nullptr) {
        require(fits_first ? expectedIn(after, wwid).name == name.substr(0, 127) : after == before,
                "a damaged file");
        return;
    }
    if (!isJsonArray(disk)) {
        require(printed(before) == printed(after), "a file without an array keeps its content");
        return;
    }
    require(elementsOf(after) >= cJSON_GetArraySize(disk) &&
                elementsOf(after) <= cJSON_GetArraySize(disk) + 1,
            "no entry is lost");
    require(!isJsonObject(root.get()) || expectedIn(after, wwid).found, "the WWID is there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    log_started = false;
    // Short enough for the nesting and the template's limits to be met often.
    const std::string input(reinterpret_cast<const char *>(data), std::min<size_t>(size, 20000));
    const size_t first = input.find('\n');
    const size_t second = first == std::string::npos ? first : input.find('\n', first + 1);
    if (second == std::string::npos) {
        return 0;
    }
    // Texts end at a NUL, as the callers' do.
    const std::string wwid = input.substr(0, first).c_str(); // NOLINT(readability-redundant-string-cstr)
    const std::string name =
        input.substr(first + 1, second - first - 1).c_str(); // NOLINT(readability-redundant-string-cstr)
    const std::string path = folder() + "/cache";
    writeFile(path, input.substr(second + 1));

    const bool fits_first = checkFirstFile(wwid, name);
    checkLookup(path, wwid);
    checkStore(path, wwid, name, fits_first);
    checkLookup(path, wwid);
    checkStore(path, wwid, name + "x", fits_first);
    checkLookup(path, wwid);
    return 0;
}
